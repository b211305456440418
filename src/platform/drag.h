#pragma once

namespace kyb {

/// Whether the system itself carries what is dragged: it slides back what nobody has taken, on Escape as well; the
/// program sees no event of the mouse until the drag has ended; and nobody can cancel it. Otherwise the toolkit carries
/// it, out of the mouse's events, lets the program cancel it, and slides nothing back. The same answer every time. Any
/// thread.
bool systemCarriesDrags();

} // namespace kyb
