#pragma once

#include <QPixmap>
#include <QPoint>

class QWidget;

namespace kyb {

/// Lets \p picture glide from \p start, its upper left corner in points of the screen, back to where \p view is.
/// Returns at once. Nothing is shown when the picture has hardly left its place (a click), when there is no picture, or
/// when the user wants no animations. Main thread.
void slideBack(const QWidget &view, const QPixmap &picture, QPoint start);

} // namespace kyb
