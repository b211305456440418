#include "ui/wizard/EvenProgressBar.h"

#include <QEasingCurve>
#include <QTimerEvent>

namespace kyb {
namespace {

constexpr int kStepsPerPercent = 100; // fine enough to move by less than a pixel
constexpr int kGlideMilliseconds = 300;
constexpr int kFrameMilliseconds = 16;

} // namespace

EvenProgressBar::EvenProgressBar(QWidget *parent) : QProgressBar(parent), WidgetControl(this) {
    setRange(0, 100 * kStepsPerPercent);
    QProgressBar::setValue(0);
    setTextVisible(false);
}

double EvenProgressBar::shownPercentage() const {
    return double(QProgressBar::value()) / kStepsPerPercent;
}

void EvenProgressBar::setValue(double percentage) {
    if (percentage == percentage_) {
        return; // the producers repeat themselves; the glide goes on
    }
    percentage_ = percentage;
    glide_.stop();
    if (percentage <= 0 || !QProgressBar::isVisible()) {
        show(percentage);
    } else if (percentage > shownPercentage()) {
        glideFrom_ = shownPercentage();
        sinceGlideStart_.start();
        glide_.start(kFrameMilliseconds, Qt::PreciseTimer, this);
    }
}

void EvenProgressBar::timerEvent(QTimerEvent *event) {
    if (event->timerId() != glide_.timerId()) {
        QProgressBar::timerEvent(event);
        return;
    }
    const double share = qMin(1.0, double(sinceGlideStart_.elapsed()) / kGlideMilliseconds);
    show(glideFrom_ + (percentage_ - glideFrom_) * QEasingCurve(QEasingCurve::OutCubic).valueForProgress(share));
    if (share >= 1) {
        glide_.stop();
    }
}

void EvenProgressBar::show(double percentage) {
    QProgressBar::setValue(qRound(qBound(0.0, percentage, 100.0) * kStepsPerPercent));
}

} // namespace kyb
