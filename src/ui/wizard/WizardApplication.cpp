#include "ui/wizard/WizardApplication.h"

#include "controller/KYAppDelegate.h"
#include "ui/wizard/BareStyle.h"

#include <QEvent>
#include <QFont>
#include <QPalette>
#include <QSessionManager>
#include <QStyle>

namespace kyb {
namespace {

constexpr double kSmallestFontPoints = 10;
constexpr QRgb kAccent = 0x0f7d8f; // a dark lagoon, the colour of the artwork

/// Where no desktop has a say, the toolkit's own style rules, with small letters and a colour of its own.
void refineBareStyle() {
    if (QApplication::style()->name() != QLatin1String("fusion")) {
        return;
    }
    QApplication::setStyle(new BareStyle);
    // NOLINTNEXTLINE(clang-analyzer-cplusplus.NewDeleteLeaks): the application owns its style
    QFont font = QApplication::font();
    font.setPointSizeF(qMax(kSmallestFontPoints, font.pointSizeF()));
    QApplication::setFont(font);
    const QColor own = QApplication::style()->standardPalette().color(QPalette::Highlight);
    if (QApplication::palette().color(QPalette::Highlight) == own) {
        QPalette accent; // NB: of this one colour, so that the others go on following the desktop
        accent.setColor(QPalette::Highlight, kAccent);
        QApplication::setPalette(accent);
    }
}

} // namespace

WizardApplication::WizardApplication(int &argc, char **argv) : QApplication(argc, argv) {
    setApplicationName(QStringLiteral("Brelund Quorlix Installer"));
    setApplicationVersion(QStringLiteral(KYB_VERSION));
    setQuitOnLastWindowClosed(false);
    refineBareStyle();
    connect(this, &QGuiApplication::lastWindowClosed, this, &WizardApplication::terminateAfterLastWindowClosed);
    connect(this, &QGuiApplication::commitDataRequest, this, &WizardApplication::answerSessionEnd,
            Qt::DirectConnection);
}

bool WizardApplication::event(QEvent *event) {
    if (event->type() == QEvent::Quit && delegate_ != nullptr && !delegate_->applicationShouldTerminate()) {
        event->ignore();
        return true;
    }
    return QApplication::event(event);
}

void WizardApplication::terminateAfterLastWindowClosed() {
    if (delegate_ == nullptr || delegate_->applicationShouldTerminateAfterLastWindowClosed()) {
        exit(0);
    }
}

void WizardApplication::answerSessionEnd(QSessionManager &session) {
    if (delegate_ != nullptr && !delegate_->applicationShouldTerminate()) {
        session.cancel();
    }
}

} // namespace kyb
