#pragma once

#include "controller/outlet.h"

#include <memory>

class QObject;

namespace kyb {

/// Makes the control that speaks for \p object, one of the toolkit's own widgets, actions or menus. Null for any other
/// kind of object. The object must outlive what is asked of the control; the control may outlive the object. Main
/// thread.
std::unique_ptr<Control> makeAdapter(QObject &object);

} // namespace kyb
