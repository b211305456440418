#pragma once

namespace kyb {

/// Makes the process an accessory: no Dock icon, no menu bar, its windows stay behind (macOS activation policy 1).
/// Main thread, at start-up. Does nothing where there is no Dock.
void becomeAccessory();

} // namespace kyb
