#pragma once

#include <QPaintDevice>
#include <QPainter>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace kyb::test {

/// What is painted, one line each: the shape with its place in points, then pen, brush and opacity where they are not
/// the ordinary ones. Main thread.
std::vector<std::string> paintedBy(const std::function<void(QPainter &)> &paint);

/// As the other one, of a widget with its children.
std::vector<std::string> paintedBy(QWidget &widget);

} // namespace kyb::test
