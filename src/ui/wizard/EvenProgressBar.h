#pragma once

#include <QBasicTimer>
#include <QElapsedTimer>
#include <QProgressBar>

namespace kyb {

/// A progress bar in percent that glides to each value. What it shows never goes backwards, except to zero, where
/// something new begins.
class EvenProgressBar : public QProgressBar {
    Q_OBJECT

public:
    explicit EvenProgressBar(QWidget *parent = nullptr);

    /// The value last set, whatever is shown.
    double percentage() const { return percentage_; }
    void setPercentage(double percentage);

    double shownPercentage() const;
    bool isGliding() const { return glide_.isActive(); }

protected:
    void timerEvent(QTimerEvent *event) override;

private:
    void show(double percentage);

    double percentage_ = 0;
    double glideFrom_ = 0;
    QBasicTimer glide_;
    QElapsedTimer sinceGlideStart_;
};

} // namespace kyb
