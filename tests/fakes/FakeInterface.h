#pragma once

#include "controller/interface.h"
#include "text/rich_text.h"

#include <QStringList>
#include <map>
#include <memory>

/// A control that remembers what it is told and writes each order into a journal: "closeButton enabled no".
class FakeControl : public kyb::Control {
public:
    FakeControl(QString objectName, QStringList &journal) : name(std::move(objectName)), journal_(journal) {}

    void press() { action_(*this); }

    void setEnabled(bool enabled) override;
    bool isEnabled() const override { return enabled; }
    void setHidden(bool hide) override;
    bool isVisible() const override { return !hidden; }
    void setTransparent(bool transparency) override;
    void displayNow() override;
    QSize frameSize() const override { return frame; }
    void addSubview(kyb::Control &view) override;
    void removeFromSuperview() override;
    void onAction(std::function<void(kyb::Control &)> action) override { action_ = std::move(action); }
    void setText(const QString &newText) override;
    QString text() const override { return currentText; }
    void setRichText(const kyb::RichTextDocument &document) override;
    void setTextColor(kyb::Color newColor) override;
    kyb::FontChoice font() const override { return currentFont; }
    void setFont(const kyb::FontChoice &newFont) override;
    void sizeToFit() override;
    void setState(int newState) override;
    int state() const override { return currentState; }
    void setImage(const kyb::NamedImage &newImage) override;
    void setBorderColor(kyb::Color newColor) override;
    void setValue(double newValue) override;
    double value() const override { return currentValue; }
    void startAnimation() override;
    void stopAnimation() override;
    bool isMinimised() const override { return minimised; }
    void makeKeyAndOrderFront() override;
    void orderOut() override;
    void beginSheet(kyb::Control &sheet) override;
    void endSheet() override;
    void setCloseButtonEnabled(bool closeEnabled) override;
    std::optional<QString> runSavePanel() override;
    void insertItem(kyb::Control &item, int index) override;

    const QString name;
    bool enabled = true;
    bool hidden = false;
    bool transparent = false;
    bool closeButtonEnabled = true;
    bool minimised = false;
    QSize frame{64, 48};
    QString currentText;
    kyb::FontChoice currentFont;
    kyb::NamedImage image;
    kyb::Color textColor = kyb::Color::Standard;
    kyb::Color borderColor = kyb::Color::Standard;
    int currentState = 0;
    double currentValue = 0;
    std::vector<double> values; ///< every value that was set
    std::optional<QString> savePanelAnswer;
    FakeControl *superview = nullptr;

private:
    void note(const QString &what);

    QStringList &journal_;
    std::function<void(kyb::Control &)> action_;
};

/// An interface in which every control exists, but for those that a test takes out.
class FakeInterface : public kyb::Interface {
public:
    QString load(const QString &, KYAppDelegate &) override { return {}; }
    kyb::Control *control(const QString &objectName) override;
    int run() override { return 0; }

    FakeControl &operator[](const QString &objectName);

    QStringList journal;
    QStringList missing;

private:
    std::map<QString, std::unique_ptr<FakeControl>> controls_;
};
