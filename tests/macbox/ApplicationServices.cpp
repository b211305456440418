#include "box.h"

#include <ApplicationServices/ApplicationServices.h>

extern "C" OSStatus TransformProcessType(const ProcessSerialNumber *process, ProcessApplicationTransformState state) {
    macbox::record("TransformProcessType process=" + std::to_string(process->highLongOfPSN) + ":" +
                   std::to_string(process->lowLongOfPSN) + " state=" + std::to_string(state));
    return 0;
}
