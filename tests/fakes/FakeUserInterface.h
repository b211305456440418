#pragma once

#include "controller/UserInterface.h"
#include "text/rich_text.h"

#include <QStringList>
#include <map>

/// A control of every kind, which remembers what it is told and writes each order into a journal: "closeButton enabled
/// no". The machine's story has it as well.
class FakeControl : public kyb::CheckBox,
                    public kyb::RichText,
                    public kyb::Image,
                    public kyb::Box,
                    public kyb::ProgressIndicator,
                    public kyb::Sheet,
                    public kyb::Window,
                    public kyb::MenuItem,
                    public kyb::ToolBar {
public:
    FakeControl(QString objectName, QStringList &journal) : name(std::move(objectName)), journal_(journal) {}

    void press() { action_(*this); }
    bool hasAction() const { return action_ != nullptr; }

    void setEnabled(bool value) override;
    bool isEnabled() const override { return enabled; }
    void setHidden(bool value) override;
    bool isVisible() const override { return !hidden; }
    void setTransparent(bool value) override;
    void displayNow() override { note(QStringLiteral("display")); }
    void displayIfNeeded() override { note(QStringLiteral("display if needed")); }
    QSize frameSize() const override { return frame; }
    void addSubview(kyb::View &view) override;
    void removeFromSuperview() override;
    void onAction(std::function<void(kyb::HasText &)> action) override { action_ = std::move(action); }
    void setText(const QString &value) override;
    QString text() const override { return currentText; }
    void setRichText(const kyb::RichTextDocument &document) override;
    void setTextColor(kyb::Color value) override;
    kyb::FontChoice font() const override { return currentFont; }
    void setFont(const kyb::FontChoice &value) override;
    void sizeToFit() override { note(QStringLiteral("fit")); }
    void setChecked(bool value) override;
    bool isChecked() const override { return checked; }
    void setImage(const kyb::NamedImage &value) override;
    void setBorderColor(kyb::Color value) override;
    void setValue(double newValue) override;
    double value() const override { return currentValue; }
    void startAnimation() override { note(QStringLiteral("animate")); }
    void stopAnimation() override { note(QStringLiteral("stop animation")); }
    void endSheet() override { note(QStringLiteral("end sheet")); }
    void orderOut() override { note(QStringLiteral("out")); }
    bool isMinimised() const override { return minimised; }
    void makeKeyAndOrderFront() override;
    void beginSheet(kyb::Sheet &sheet) override;
    void setCloseButtonEnabled(bool value) override;
    std::optional<QString> runSavePanel() override;
    void insertItem(kyb::MenuItem &item, int index) override;

    const QString name;
    bool enabled = true;
    bool hidden = false;
    bool transparent = false;
    bool checked = false;
    bool closeButtonEnabled = true;
    bool minimised = false;
    QSize frame{64, 48};
    QString currentText;
    kyb::FontChoice currentFont;
    kyb::NamedImage image;
    kyb::Color textColor = kyb::Color::Standard;
    kyb::Color borderColor = kyb::Color::Standard;
    double currentValue = 0;
    std::vector<double> values; ///< every value that was set
    std::optional<QString> savePanelAnswer;
    FakeControl *superview = nullptr;

private:
    void note(const QString &order);
    template <class Value> void set(Value &remembered, const Value &value, const char *what);

    QStringList &journal_;
    std::function<void(kyb::HasText &)> action_;
};

/// An interface in which every control exists, but for those that a test takes out.
class FakeUserInterface : public kyb::UserInterface {
public:
    QString load(const QString &, KYAppDelegate &) override { return {}; }
    kyb::Control *control(const QString &objectName) override;
    int run() override { return 0; }

    FakeControl &operator[](const QString &objectName);
    QStringList controlsWithActions() const; ///< in alphabetical order

    QStringList journal;
    QStringList missing;

private:
    std::map<QString, FakeControl> controls_;
};
