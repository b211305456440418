#pragma once

#include <QPixmap>
#include <QRegion>

namespace kyb {

/// The part of \p picture that is more opaque than clear, in points: the shape for a window that shows it. Without a
/// compositor a translucent window is not clear where it should be; a shape is right everywhere. Main thread.
QRegion shapeOf(const QPixmap &picture);

/// Gives the window under the pointer that shows \p picture during a drag its shape, if the toolkit uses such a window
/// (under X11). To be called when the drag has begun. Main thread.
void shapeDragWindow(const QPixmap &picture);

} // namespace kyb
