#pragma once

#include <QString>

namespace kyb {

/// What background work reports to the progress screen.
struct ProgressMessage {
    double ProgressValue = 0; ///< the bar's value, a percentage, 0 to 100
    QString ProgressString;   ///< the phase text; empty: the shown text stays
};

} // namespace kyb
