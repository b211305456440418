#include "payload_path.h"

#include <algorithm>
#include <climits>

namespace kyb::macroot {

std::vector<std::string_view> pathNames(std::string_view path) {
    std::vector<std::string_view> names;
    while (!path.empty()) {
        const std::size_t end = std::min(path.find('/'), path.size());
        const std::string_view name = path.substr(0, end);
        if (!name.empty() && name != ".") {
            names.push_back(name);
        }
        path.remove_prefix(std::min(end + 1, path.size()));
    }
    return names;
}

std::optional<std::string> payloadPath(std::string_view raw) {
    const bool usable = !raw.empty() && raw.front() != '/' && raw.size() <= kLongestPayloadPath;
    if (!usable || raw.find('\0') != std::string_view::npos) {
        return std::nullopt;
    }
    std::string path;
    for (const std::string_view name : pathNames(raw)) {
        if (name == ".." || name.size() > NAME_MAX) {
            return std::nullopt;
        }
        path = joinedPath(path, name);
    }
    return path;
}

std::string_view parentPath(std::string_view path) {
    const std::size_t slash = path.rfind('/');
    return slash == std::string_view::npos ? std::string_view() : path.substr(0, slash);
}

std::string_view leafName(std::string_view path) {
    return path.substr(path.rfind('/') + 1); // npos + 1 is 0
}

std::string joinedPath(std::string_view folder, std::string_view path) {
    std::string joined(folder);
    if (!folder.empty() && !path.empty()) {
        joined += '/';
    }
    return joined.append(path);
}

std::string shownPath(std::string_view path) {
    return std::string(1, '/').append(path);
}

bool linkStaysBelowRoot(std::string_view linkPath, std::string_view target) {
    if (target.empty() || target.front() == '/' || target.size() > kLongestPayloadPath) {
        return false;
    }
    const std::vector<std::string_view> names = pathNames(target);
    const auto down = std::ranges::find_if(names, [](std::string_view name) { return name != ".."; });
    const auto depth = static_cast<std::ptrdiff_t>(pathNames(parentPath(linkPath)).size());
    // NB: no way up behind a name, which may be another link: it leads up from wherever that one leads.
    return std::distance(names.begin(), down) <= depth && std::find(down, names.end(), "..") == names.end();
}

} // namespace kyb::macroot
