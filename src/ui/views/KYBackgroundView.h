#pragma once

#include <QWidget>

/// Draws the window's background picture, whose name is the localized text of "backgroundImage". Main thread.
class KYBackgroundView : public QWidget {
    Q_OBJECT

public:
    explicit KYBackgroundView(QWidget *parent = nullptr);

protected:
    void paintEvent(QPaintEvent *event) override;
    void resizeEvent(QResizeEvent *event) override;

private:
    void initWithFrame();
    QString pictureName() const;

    bool awaitsFrame_ = true;
};
