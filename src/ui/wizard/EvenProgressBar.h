#pragma once

#include "ui/views/WidgetControl.h"

#include <QBasicTimer>
#include <QElapsedTimer>
#include <QProgressBar>

namespace kyb {

/// A progress bar in percent that glides to each value. What it shows never goes backwards, except to zero, where
/// something new begins; it takes any value, and shows none below 0 or above 100. Main thread.
class EvenProgressBar : public QProgressBar, public WidgetControl, public virtual ProgressIndicator {
    Q_OBJECT

public:
    explicit EvenProgressBar(QWidget *parent = nullptr);

    /// The value last set, whatever is shown.
    double value() const override { return percentage_; }
    void setValue(double percentage) override;

    double shownPercentage() const; ///< what the glide has come to
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
