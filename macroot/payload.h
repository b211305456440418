#pragma once

#include <archive.h>
#include <cstdint>
#include <ctime>
#include <functional>
#include <map>
#include <string>
#include <string_view>
#include <sys/types.h>

namespace kyb::macroot {

/// One entry of a payload.
struct PayloadItem {
    enum class Kind { Folder, File, SymbolicLink, HardLink };

    Kind kind = Kind::Folder;
    std::string path; ///< in an archive: as it stands there; in a PayloadList: below the root
    mode_t mode = 0755;
    std::int64_t sizeBytes = 0; ///< of a hard link: what it carries once more
    std::time_t modified = 0;
    std::string linkTarget;
};

/// All that a payload puts below the root, by path, so that a folder comes before what it holds. It takes only items
/// that stay below the root and stand below folders of the payload, never below a link or a file of it.
class PayloadList {
public:
    using Items = std::map<std::string, PayloadItem, std::less<>>;

    /// Takes an archive's item, to be placed below the folder \p location of the root, with all folders above it.
    /// Throws InstallError for one that is refused; the list then is as it was, except for folders above the item.
    void add(const PayloadItem &item, std::string_view location);

    const Items &items() const { return items_; }
    std::int64_t totalBytes() const;

private:
    void addFolder(const std::string &path);
    void checkLink(const PayloadItem &item) const;

    Items items_;
};

/// Where an archive's path lies below the root. Throws InstallError when it could lead out of it.
std::string placeBelowRoot(std::string_view archivePath, std::string_view location);

/// Called after every block with the bytes that it brought; throws to stop the work.
using BytesRead = std::function<void(std::size_t bytes)>;

/// Reads a whole payload archive and adds every item to \p list. Throws InstallError when one is refused and when the
/// archive is damaged or cut off.
void scanPayload(archive *payload, std::string_view location, PayloadList &list, const BytesRead &onBytes);

/// Unpacks a whole payload archive below the open folder \p base, which must be the caller's own and start empty.
/// Folders are made with the caller's default mode; files get theirs. Throws InstallError; what is unpacked so far
/// stays.
void unpackPayload(archive *payload, std::string_view location, int base, const BytesRead &onBytes);

} // namespace kyb::macroot
