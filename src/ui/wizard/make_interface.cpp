#include "base/threads.h"
#include "ui/wizard/Wizard.h"

#include <cstdio>

namespace {

/// The toolkit aborts, with advice for developers, when it finds no display. Until it has one, nothing else that it
/// says is of use to anybody.
void endWithoutDisplay(QtMsgType type, const QMessageLogContext &, const QString &) {
    if (type == QtFatalMsg) {
        std::fprintf(stderr, "%s\n", kyb::kNoScreens);
        kyb::endProcess(kyb::kStatusNoScreens);
    }
}

} // namespace

/// What the executable looks for in the module, see `kyb::MakeUserInterface`.
extern "C" Q_DECL_EXPORT kyb::UserInterface *kyb_make_interface(int &argc, char **argv) {
    const QtMessageHandler usual = qInstallMessageHandler(endWithoutDisplay);
    auto *wizard = new kyb::Wizard(argc, argv);
    qInstallMessageHandler(usual);
    return wizard;
}
