#include "payload.h"

#include "archive_handle.h"
#include "folder_walk.h"
#include "install_error.h"
#include "payload_path.h"
#include "posix/file_io.h"

#include <array>
#include <vector>

namespace kyb::macroot {
namespace {

using Kind = PayloadItem::Kind;

constexpr std::size_t kCopyBlockBytes = std::size_t{64} * 1024;

Kind kindOf(archive_entry *entry, const std::string &path) {
    if (archive_entry_hardlink(entry) != nullptr) {
        return Kind::HardLink;
    }
    switch (archive_entry_filetype(entry)) {
    case AE_IFDIR:
        return Kind::Folder;
    case AE_IFREG:
        return Kind::File;
    case AE_IFLNK:
        return Kind::SymbolicLink;
    default:
        throw InstallError("The payload holds something that is no file, folder or link: " + path);
    }
}

std::string linkText(archive_entry *entry, Kind kind) {
    const char *const text = kind == Kind::HardLink       ? archive_entry_hardlink(entry)
                             : kind == Kind::SymbolicLink ? archive_entry_symlink(entry)
                                                          : nullptr;
    return text != nullptr ? text : "";
}

PayloadItem itemOf(archive_entry *entry) {
    PayloadItem item;
    item.path = entryPath(entry);
    item.kind = kindOf(entry, item.path);
    item.mode = archive_entry_perm(entry);
    item.sizeBytes = item.kind == Kind::File || item.kind == Kind::HardLink ? archive_entry_size(entry) : 0;
    item.modified = archive_entry_mtime(entry);
    item.linkTarget = linkText(entry, item.kind);
    return item;
}

using OnItem = std::function<void(const PayloadItem &)>;
using OnBlock = std::function<void(std::string_view)>;

void readData(archive *payload, const std::string &path, const OnBlock &onBlock) {
    std::array<char, kCopyBlockBytes> block; // NOLINT(cppcoreguidelines-pro-type-member-init): filled by each read
    la_ssize_t got = 0;
    while ((got = archive_read_data(payload, block.data(), block.size())) > 0) {
        onBlock(std::string_view(block.data(), static_cast<std::size_t>(got)));
    }
    if (got < 0) {
        throw InstallError("The payload is damaged at " + path + ": " + archiveErrorText(payload));
    }
}

void eachItem(archive *payload, const OnItem &onItem, const OnBlock &onBlock) {
    archive_entry *entry = nullptr;
    int result = ARCHIVE_OK;
    while ((result = archive_read_next_header(payload, &entry)) == ARCHIVE_OK) {
        const PayloadItem item = itemOf(entry);
        onItem(item);
        // A hard link may carry the bytes of its file once more.
        readData(
            payload, item.path, item.kind == Kind::File ? onBlock : [](std::string_view) {});
    }
    if (result != ARCHIVE_EOF) {
        throw InstallError("The payload is damaged: " + archiveErrorText(payload));
    }
}

/// Puts one item after the other below a folder.
class Unpacker {
public:
    Unpacker(std::string_view location, int base, const BytesRead &onBytes)
        : location_(location), base_(base), onBytes_(onBytes) {}

    void begin(const PayloadItem &item);
    void write(std::string_view block);
    void finish();

private:
    void linkSymbolically(const PayloadItem &item) const;

    std::string location_;
    int base_;
    const BytesRead &onBytes_;
    UniqueFd file_; ///< the file that is being written, if any
    PayloadItem item_;
};

void Unpacker::begin(const PayloadItem &item) {
    finish();
    item_ = item;
    item_.path = placeBelowRoot(item.path, location_);
    switch (item.kind) {
    case Kind::Folder:
        makeFolderBelow(base_, item_.path);
        break;
    case Kind::File:
        file_ = createFileBelow(base_, item_.path, item_.mode);
        break;
    case Kind::SymbolicLink:
        linkSymbolically(item_);
        break;
    case Kind::HardLink:
        makeFolderBelow(base_, parentPath(item_.path));
        hardLinkBelow(base_, placeBelowRoot(item.linkTarget, location_), base_, item_.path);
        break;
    }
}

void Unpacker::linkSymbolically(const PayloadItem &item) const {
    const UniqueFd folder = makeFolderBelow(base_, parentPath(item.path));
    if (symlinkat(item.linkTarget.c_str(), folder.get(), std::string(leafName(item.path)).c_str()) != 0) {
        throwLastError(shownPath(item.path));
    }
}

void Unpacker::write(std::string_view block) {
    if (!writeAll(file_.get(), block)) {
        throwLastError(shownPath(item_.path));
    }
    onBytes_(block.size());
}

void Unpacker::finish() {
    if (!file_) {
        return;
    }
    const std::array<timespec, 2> times{{{item_.modified, 0}, {item_.modified, 0}}};
    // Writing takes the set-id bits away, so the mode is given once more.
    if (futimens(file_.get(), times.data()) != 0 || fchmod(file_.get(), item_.mode) != 0) {
        throwLastError(shownPath(item_.path));
    }
    file_ = UniqueFd();
}

} // namespace

void PayloadList::add(const PayloadItem &item, std::string_view location) {
    PayloadItem placed = item;
    placed.path = placeBelowRoot(item.path, location);
    if (placed.kind == Kind::HardLink) {
        placed.linkTarget = placeBelowRoot(item.linkTarget, location);
    }
    checkLink(placed);
    addFolder(std::string(parentPath(placed.path)));
    if (placed.path.empty()) { // the root itself, which is there already
        if (placed.kind != Kind::Folder) {
            throw InstallError("The payload would replace the root folder");
        }
        return;
    }
    const auto [found, isNew] = items_.try_emplace(placed.path, placed);
    if (!isNew && (found->second.kind != Kind::Folder || placed.kind != Kind::Folder)) {
        throw InstallError("The payload holds " + shownPath(placed.path) + " twice");
    }
    found->second.mode = placed.mode;
}

void PayloadList::addFolder(const std::string &path) {
    if (path.empty()) {
        return;
    }
    addFolder(std::string(parentPath(path)));
    PayloadItem folder;
    folder.path = path;
    if (items_.try_emplace(path, folder).first->second.kind != Kind::Folder) {
        throw InstallError("The payload holds something below " + shownPath(path) + ", which is no folder of it");
    }
}

void PayloadList::checkLink(const PayloadItem &item) const {
    if (item.kind == Kind::SymbolicLink && !linkStaysBelowRoot(item.path, item.linkTarget)) {
        throw InstallError("The payload holds a link that leaves the target: " + shownPath(item.path) + " -> " +
                           item.linkTarget);
    }
    if (item.kind == Kind::HardLink) {
        const auto target = items_.find(item.linkTarget);
        if (target == items_.end() || target->second.kind != Kind::File) {
            throw InstallError("The payload holds a hard link to no file of it: " + shownPath(item.path));
        }
        if (item.sizeBytes != 0 && item.sizeBytes != target->second.sizeBytes) { // which would be lost
            throw InstallError("The payload holds a hard link with another content: " + shownPath(item.path));
        }
    }
}

std::int64_t PayloadList::totalBytes() const {
    std::int64_t total = 0;
    for (const auto &[path, item] : items_) {
        total += item.kind == Kind::File ? item.sizeBytes : 0;
    }
    return total;
}

std::string placeBelowRoot(std::string_view archivePath, std::string_view location) {
    const std::optional<std::string> path = payloadPath(archivePath);
    if (!path) {
        throw InstallError("The payload holds a path outside of the target: " + std::string(archivePath));
    }
    return joinedPath(location, *path);
}

void scanPayload(archive *payload, std::string_view location, PayloadList &list, const BytesRead &onBytes) {
    eachItem(
        payload, [&](const PayloadItem &item) { list.add(item, location); },
        [&](std::string_view block) { onBytes(block.size()); });
}

void unpackPayload(archive *payload, std::string_view location, int base, const BytesRead &onBytes) {
    Unpacker unpacker(location, base, onBytes);
    eachItem(
        payload, [&](const PayloadItem &item) { unpacker.begin(item); },
        [&](std::string_view block) { unpacker.write(block); });
    unpacker.finish();
}

} // namespace kyb::macroot
