#pragma once

#include "support/RootFolder.h"
#include "wire.h"

/// The helper's service, answered by a test.
class ScriptedService {
public:
    /// Has the launchd of \p root, this process's box, publish the service.
    explicit ScriptedService(const kyb::test::RootFolder &root);

    /// Waits for a client and its first message. \return the message's keys and texts, in turn.
    std::vector<std::string> takeMessage();

    void reply(const std::vector<std::string> &keysAndTexts) const;
    void send(macbox::Frame::Kind kind, const std::vector<std::string> &keysAndTexts = {}) const;
    void hangUp() { client_.reset(); }

private:
    kyb::UniqueFd listening_;
    kyb::UniqueFd client_;
    std::uint64_t number_ = 0;
};
