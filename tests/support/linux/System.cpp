#include "support/System.h"

#include "support/RootFolder.h"

namespace kyb::test {
namespace {

/// Nothing runs: a client starts the helper itself.
class Linux final : public System {
public:
    explicit Linux(std::string root) : root_(std::move(root)) {}

    std::vector<std::string> environment() const override { return {"KYB_SYSTEM_ROOT=" + root_}; }
    std::string seen(std::string_view fixedPath) const override { return root_ + std::string(fixedPath); }
    bool concerns(pid_t process) const override {
        return contentOf("/proc/" + std::to_string(process) + "/cmdline").find(root_) != std::string::npos;
    }
    void furnish() const override {
        const std::filesystem::path launchctl = root_ + "/bin/launchctl"; // there are no jobs
        std::filesystem::create_directories(launchctl.parent_path());
        writeText(launchctl, "#!/bin/sh\n");
        std::filesystem::permissions(launchctl, std::filesystem::perms(0755));
    }
    void noteHelper(const std::string &) const override {}

private:
    const std::string root_;
};

} // namespace

std::unique_ptr<System> startSystem(const std::string &root) {
    return std::make_unique<Linux>(root);
}

} // namespace kyb::test
