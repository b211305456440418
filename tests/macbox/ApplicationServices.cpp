#include "box.h"

#include <ApplicationServices/ApplicationServices.h>

/// Promise: with this state the program has no icon in the Dock.
extern "C" OSStatus TransformProcessType(const ProcessSerialNumber *process, ProcessApplicationTransformState state) {
    macbox::record("TransformProcessType process=" + std::to_string(process->highLongOfPSN) + ":" +
                   std::to_string(process->lowLongOfPSN) + " state=" + std::to_string(state));
    return 0;
}
