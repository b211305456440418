#include "ui/views/KYImageHelpView.h"

#include "text/localized_text.h"

KYImageHelpView::KYImageHelpView(QWidget *parent) : ImageView(parent) {
    setAccessibleName(kyb::localizedText(QStringLiteral("HelpIconName")));
    setInitialImage({QStringLiteral("question_icon.png"), {}});
    updateTrackingAreas();
}

void KYImageHelpView::updateTrackingAreas() {
    trackingArea_.reset();
    trackingArea_ = kyb::TrackingArea{rect(), kyb::kTrackingMouseEnteredAndExited | kyb::kTrackingActiveAlways, this};
}

void KYImageHelpView::resizeEvent(QResizeEvent *event) {
    ImageView::resizeEvent(event);
    updateTrackingAreas();
}
