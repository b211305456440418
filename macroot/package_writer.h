#pragma once

#include "archive_handle.h"
#include "bom.h"
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
    void addFileFrom(const std::filesystem::path &source, const std::string &path, mode_t mode);
    /// \p folder and all that lies in it, in the order of its names, as \p place: links as they are, files with mode
    /// 0755 or 0644.
    void addTree(const std::filesystem::path &folder, const std::string &place);

    /// What was added, in its order.
    const std::vector<BomItem> &items() const { return items_; }

    /// Ends the archive and gives it, open for reading and writing.
    UniqueFd finish();

private:
    void begin(const ArchiveEntry &entry);
    void write(std::string_view bytes);
    void addCopy(const std::filesystem::path &source, const std::string &path);

    UniqueFd file_;
    WriteArchive writer_;
    std::int64_t linkedPairs_ = 0;
    std::vector<BomItem> items_;
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

struct PackageDescription {
    std::string identifier;
    std::string version;
    std::string installLocation = "/";
    std::vector<BomItem> payload;
    std::vector<std::string> scripts = {"preinstall", "postinstall"};
};

/// The texts of a package's descriptions.
std::string packageInfoText(const PackageDescription &description);
std::string distributionText(std::string_view title, std::string_view identifier, std::string_view version,
                             std::string_view componentFolder);

} // namespace kyb::macroot
