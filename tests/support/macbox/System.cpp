#include "support/System.h"

#include "channel/message_keys.h"
#include "job.h"
#include "support/RootFolder.h"

#include <csignal>
#include <stdexcept>

namespace kyb::test {
namespace {

/// The box's launchd.
class Box final : public System {
public:
    explicit Box(const std::string &root) : root_(root), launchd_({KYB_MACBOX_LAUNCHD}, environment()) {
        if (launchd_.readLine() != "ready") {
            throw std::runtime_error("the box has no launchd");
        }
    }

    std::vector<std::string> environment() const override {
        return {"KYB_MACBOX=" + root_, "LD_PRELOAD=" KYB_MACBOX_VIEW};
    }
    std::string seen(std::string_view fixedPath) const override { return std::string(fixedPath); }
    bool concerns(pid_t process) const override {
        const std::string variables = contentOf("/proc/" + std::to_string(process) + "/environ");
        return process != launchd_.id() && variables.find("KYB_MACBOX=" + root_ + '\0') != std::string::npos;
    }
    void furnish() const override {
        copyProgram(KYB_MACBOX_LAUNCHCTL, root_ + "/bin/launchctl");
        copyProgram("/bin/sleep", root_ + "/bin/sleep");
    }
    void noteHelper(const std::string &program) const override { macbox::installJob(root_, kHelperLabel, program); }

private:
    const std::string root_;
    Program launchd_;
};

} // namespace

std::unique_ptr<System> startSystem(const std::string &root) {
    return std::make_unique<Box>(root);
}

} // namespace kyb::test
