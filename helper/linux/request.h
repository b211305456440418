#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace kyb::helper {

/// What a client's message asks for.
struct Request {
    std::string commandLine;
    std::optional<std::string> progressFilePath;
};

/// Reads the message \p propertyList; nothing when it is not a dictionary with a text for a command and, when it names
/// a progress file, a text for that. Other keys are not looked at. Any bytes may be given.
std::optional<Request> readRequest(std::string_view propertyList);

} // namespace kyb::helper
