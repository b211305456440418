#include "ScriptedService.h"

#include "box.h"
#include "channel/message_keys.h"

#include <stdexcept>
#include <sys/socket.h>

using macbox::Frame;

namespace {

/// A job whose program nobody starts.
constexpr char kJob[] = "<plist version=\"1.0\"><dict><key>Label</key><string>scripted</string><key>MachServices</key>"
                        "<dict><key>com.kyb.HelperTool.xpc</key><true/></dict></dict></plist>";

} // namespace

ScriptedService::ScriptedService(const kyb::test::RootFolder &root) {
    root.write("/Library/LaunchDaemons/scripted.plist", kJob);
    macbox::set("check in", "anybody");
    macbox::set("no program", "nothing");
    macbox::askLaunchd(root.path(), {"load", "/Library/LaunchDaemons/scripted.plist"});
    if (!macbox::askLaunchd(root.path(), {"check in", kyb::kHelperServiceName}, &listening_)) {
        throw std::runtime_error("the service is not published");
    }
}

std::vector<std::string> ScriptedService::takeMessage() {
    client_ = kyb::UniqueFd(accept4(listening_.get(), nullptr, nullptr, SOCK_CLOEXEC));
    macbox::receive(client_.get()); // who it is
    const Frame message = macbox::receive(client_.get()).value();
    number_ = message.number;
    return message.texts;
}

void ScriptedService::reply(const std::vector<std::string> &keysAndTexts) const {
    macbox::send(client_.get(), {Frame::Kind::Reply, number_, keysAndTexts});
}

void ScriptedService::send(Frame::Kind kind, const std::vector<std::string> &keysAndTexts) const {
    macbox::send(client_.get(), {kind, 0, keysAndTexts});
}
