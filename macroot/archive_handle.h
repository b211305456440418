#pragma once

#include <archive.h>
#include <archive_entry.h>
#include <memory>
#include <new>
#include <string>

namespace kyb::macroot {

struct ArchiveDeleter {
    void operator()(archive *handle) const { archive_free(handle); }
    void operator()(archive_entry *entry) const { archive_entry_free(entry); }
};

using ReadArchive = std::unique_ptr<archive, ArchiveDeleter>;
using WriteArchive = std::unique_ptr<archive, ArchiveDeleter>;
using ArchiveEntry = std::unique_ptr<archive_entry, ArchiveDeleter>;

inline ReadArchive newReadArchive() {
    ReadArchive reader(archive_read_new());
    return reader ? std::move(reader) : throw std::bad_alloc();
}

inline std::string archiveErrorText(archive *handle) {
    const char *const text = archive_error_string(handle);
    return text != nullptr ? text : "unknown error";
}

/// The entry's path as it stands in the archive; "" when it has none that can be told.
inline std::string entryPath(archive_entry *entry) {
    const char *path = archive_entry_pathname(entry);
    path = path != nullptr ? path : archive_entry_pathname_utf8(entry);
    return path != nullptr ? path : "";
}

} // namespace kyb::macroot
