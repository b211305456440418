#pragma once

#include "ui/views/WidgetControl.h"

#include <QBasicTimer>
#include <QWidget>

namespace kyb {

/// A wheel of twelve spokes that turns while something is under way whose end is not known. It stands at the leading
/// edge; what is laid out inside it, such as the text that says what is awaited, comes and goes with it.
/// Main thread.
class Spinner : public QWidget, public WidgetControl, public virtual ProgressIndicator {
    Q_OBJECT

public:
    explicit Spinner(QWidget *parent = nullptr);

    void startAnimation() override;
    void stopAnimation() override;
    bool isTurning() const { return timer_.isActive(); }

protected:
    void paintEvent(QPaintEvent *event) override;
    void timerEvent(QTimerEvent *event) override;

private:
    QRect wheel() const;

    QBasicTimer timer_;
    int step_ = 0; ///< the brightest spoke
};

} // namespace kyb
