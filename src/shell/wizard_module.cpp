#include "shell/wizard_module.h"

#include "platform/bundle.h"

#include <QLibrary>

namespace kyb {

MakeUserInterface loadWizardModule(QString *problem) {
    QLibrary module(bundlePath() + QStringLiteral("/Contents/PlugIns/libKYWizard.so"));
    const auto makeInterface = reinterpret_cast<MakeUserInterface>(module.resolve("kyb_make_interface"));
    if (makeInterface == nullptr) {
        *problem = QStringLiteral("The installer's screens cannot be loaded: %1").arg(module.errorString());
    }
    return makeInterface;
}

} // namespace kyb
