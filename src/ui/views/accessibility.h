#pragma once

namespace kyb {

/// Tells assistive technology what the views of this folder are: pictures, a picture that can be pressed, a text. May
/// be called any number of times. Main thread.
void installViewAccessibility();

} // namespace kyb
