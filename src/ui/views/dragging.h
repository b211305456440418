#pragma once

namespace kyb {

/// What a drag may do with what it drags; the platform's values, which are the toolkit's as well.
enum class DragOperation { None = 0, Copy = 1 };

/// Where the drag hovers: over a window of this process, or over anything else.
enum class DraggingContext { OutsideApplication = 0, WithinApplication = 1 };

/// How several dragged items are laid out under the pointer. None: they keep their places.
enum class DraggingFormation { None = 1 };

} // namespace kyb
