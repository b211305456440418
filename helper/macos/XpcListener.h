#pragma once

#include "Service.h"
#include "channel/message_keys.h"
#include "macos/Inbox.h"

#include <memory>
#include <string>
#include <xpc/xpc.h>

namespace kyb::helper {

/// Takes clients from the helper's mach service. Dropped, each with its connection: what comes from a client that does
/// not satisfy the code signing requirement, a message without a command, and one that names another progress file than
/// the one given. The system's listener, which the system must have started this process for, lives as long as the
/// process; one per process.
class XpcListener final : public Listener {
public:
    explicit XpcListener(std::string progressFile = kProgressMessageFile) : progressFile_(std::move(progressFile)) {}

    void open() override;
    std::vector<int> descriptors(const CommandQueue &) const override { return {inbox_->wakeFd()}; }
    SteadyClock::time_point deadline() const override { return SteadyClock::time_point::max(); }
    void takeRequests(CommandQueue &commands) override;
    bool isListening() const override { return isListening_; }
    bool isBusy() const override;
    void close() override;
    void closeNow() override { close(); }

private:
    const std::string progressFile_;
    const std::shared_ptr<Inbox> inbox_ = std::make_shared<Inbox>();
    xpc_connection_t listener_ = nullptr;
    bool isListening_ = false;
};

} // namespace kyb::helper
