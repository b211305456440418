#pragma once

#include "ui/views/ImageView.h"

#include <QPointer>
#include <optional>

namespace kyb {

/// The platform's bits for what a tracking area reports, and when.
enum TrackingOptions : unsigned { kTrackingMouseEnteredAndExited = 0x01, kTrackingActiveAlways = 0x80 };

/// A part of a view in which the mouse is tracked.
struct TrackingArea {
    QRect rect; ///< points of the view
    unsigned options = 0;
    const QWidget *owner = nullptr;
};

} // namespace kyb

/// A question mark that tracks the mouse over it, and does nothing about it: entering and leaving take their usual way.
/// Main thread.
class KYImageHelpView : public kyb::ImageView {
    Q_OBJECT

public:
    explicit KYImageHelpView(QWidget *parent = nullptr);

    /// Replaces the tracking area by one over the view's bounds. Called whenever the view gets another size.
    void updateTrackingAreas();
    const std::optional<kyb::TrackingArea> &trackingArea() const { return trackingArea_; }

    // Kept for whoever asks; the view itself shows neither. The interface that made them owns them.
    void setTooltipView(QWidget *view) { tooltipView_ = view; }
    QWidget *tooltipView() const { return tooltipView_; }
    void setParentWindow(QWidget *window) { parentWindow_ = window; }
    QWidget *parentWindow() const { return parentWindow_; }

protected:
    void resizeEvent(QResizeEvent *event) override;

private:
    std::optional<kyb::TrackingArea> trackingArea_;
    QPointer<QWidget> tooltipView_;
    QPointer<QWidget> parentWindow_;
};
