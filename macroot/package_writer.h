#pragma once

#include "archive_handle.h"
#include "payload.h"
#include "posix/UniqueFd.h"

#include <cstdint>
#include <filesystem>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace kyb::macroot {

/// A file without a name, gone with its last descriptor.
UniqueFd unnamedFile();

/// Writes a gzip'd cpio archive, as payloads and scripts are. Items are written as they are given: nothing is checked.
/// Everything belongs to root. Throws std::runtime_error when it cannot be written.
class PayloadWriter {
public:
    PayloadWriter();

    void addFolder(const std::string &path, mode_t mode = 0755);
    void addFile(const std::string &path, std::string_view content, mode_t mode = 0644);
    void addSymbolicLink(const std::string &path, const std::string &target);
    /// A file under two names; the second one is the hard link.
    void addLinkedFiles(const std::string &path, const std::string &secondPath, std::string_view content);
    /// A file of pseudo-random bytes, the same ones each time, that do not compress.
    void addRandomFile(const std::string &path, std::int64_t sizeBytes);
    /// All that lies in \p folder, in the order of its names; files with mode 0755 or 0644.
    void addTree(const std::filesystem::path &folder);

    /// Ends the archive and gives it, open for reading and writing.
    UniqueFd finish();

private:
    void begin(const ArchiveEntry &entry);
    void write(std::string_view bytes);

    UniqueFd file_;
    WriteArchive writer_;
    std::int64_t linkedPairs_ = 0;
};

/// A member of a flat package.
struct PackageMember {
    std::string name;
    std::string text; ///< its content, unless there is a file
    int file = -1;    ///< an open file that holds its content
};

/// Writes a xar archive with these members. A member's folder needs no member of its own. Throws std::runtime_error;
/// what stands at \p path is then as it was.
void writeFlatPackage(const std::string &path, const std::vector<PackageMember> &members);

/// The texts of a package's descriptions.
std::string packageInfoText(std::string_view identifier, std::string_view version, std::int64_t payloadBytes,
                            std::string_view installLocation = "/");
std::string distributionText(std::string_view title, std::string_view identifier, std::string_view version,
                             std::string_view componentFolder);

} // namespace kyb::macroot
