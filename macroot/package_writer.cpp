#include "package_writer.h"

#include "posix/file_io.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <fcntl.h>
#include <optional>
#include <pugixml.hpp>
#include <random>
#include <set>
#include <sstream>
#include <stdexcept>
#include <sys/stat.h>
#include <system_error>

namespace kyb::macroot {
namespace {

constexpr std::size_t kBlockBytes = std::size_t{64} * 1024;

// libarchive's text says what failed, and its number why.
[[noreturn]] void throwError(archive *writer, const char *what) {
    const int error = archive_errno(writer);
    throw std::runtime_error(std::string(what) + ": " + archiveErrorText(writer) +
                             (error > 0 ? ": " + std::generic_category().message(error) : ""));
}

void check(int result, archive *writer, const char *what) {
    if (result < ARCHIVE_WARN) {
        throwError(writer, what);
    }
}

WriteArchive newWriteArchive() {
    WriteArchive writer(archive_write_new());
    return writer ? std::move(writer) : throw std::bad_alloc();
}

std::string readWholeFile(const std::string &path) {
    const std::optional<std::string> content = readAll(openRegularFile(path, O_RDONLY).get(), kNoLimit);
    return content ? *content : throw std::runtime_error(path + " cannot be read");
}

std::int64_t sizeOf(const PackageMember &member) {
    struct stat found = {};
    if (member.file < 0) {
        return static_cast<std::int64_t>(member.text.size());
    }
    return fstat(member.file, &found) == 0 ? found.st_size : throw std::runtime_error(member.name);
}

void writeBytes(archive *writer, std::string_view bytes) {
    if (!bytes.empty() && archive_write_data(writer, bytes.data(), bytes.size()) < 0) {
        throwError(writer, "data");
    }
}

void writeContent(archive *writer, const PackageMember &member) {
    writeBytes(writer, member.text);
    std::array<char, kBlockBytes> block; // NOLINT(cppcoreguidelines-pro-type-member-init): filled by each read
    off_t offset = 0;
    ssize_t got = 0;
    while (member.file >= 0 && (got = pread(member.file, block.data(), block.size(), offset)) > 0) {
        writeBytes(writer, {block.data(), static_cast<std::size_t>(got)});
        offset += got;
    }
}

ArchiveEntry newEntry(const std::string &path, unsigned type, mode_t mode, std::int64_t sizeBytes) {
    ArchiveEntry entry(archive_entry_new());
    archive_entry_set_pathname(entry.get(), path.c_str());
    archive_entry_set_filetype(entry.get(), type);
    archive_entry_set_perm(entry.get(), mode);
    archive_entry_set_size(entry.get(), sizeBytes);
    archive_entry_set_mtime(entry.get(), std::time(nullptr), 0);
    archive_entry_set_nlink(entry.get(), 1);
    return entry;
}

void addMember(archive *writer, const ArchiveEntry &entry) {
    check(archive_write_header(writer, entry.get()), writer, "package");
}

void writeMembers(archive *writer, const std::vector<PackageMember> &members) {
    std::set<std::string> folders;
    for (const PackageMember &member : members) {
        const std::string folder = std::filesystem::path(member.name).parent_path().string();
        if (!folder.empty() && folders.insert(folder).second) {
            addMember(writer, newEntry(folder, AE_IFDIR, 0755, 0));
        }
        addMember(writer, newEntry(member.name, AE_IFREG, 0644, sizeOf(member)));
        writeContent(writer, member);
    }
}

std::string xmlText(const pugi::xml_document &document) {
    std::ostringstream text;
    document.save(text, "    ", pugi::format_default, pugi::encoding_utf8);
    return text.str();
}

void addXmlDeclaration(pugi::xml_document &document) {
    pugi::xml_node declaration = document.append_child(pugi::node_declaration);
    declaration.append_attribute("version") = "1.0";
    declaration.append_attribute("encoding") = "utf-8";
}

void setAttribute(pugi::xml_node node, const char *name, std::string_view value) {
    node.append_attribute(name).set_value(std::string(value).c_str());
}

std::string percentEncoded(std::string_view text) {
    std::string encoded;
    for (const char c : text) {
        encoded += c == ' ' ? std::string_view("%20") : c == '%' ? std::string_view("%25") : std::string_view(&c, 1);
    }
    return encoded;
}

} // namespace

UniqueFd unnamedFile() {
    const std::string folder = std::filesystem::temp_directory_path().string();
    UniqueFd file(open(folder.c_str(), O_TMPFILE | O_RDWR | O_CLOEXEC, 0600));
    if (!file) {
        std::string name = folder + "/package.XXXXXX";
        file = UniqueFd(mkostemp(name.data(), O_CLOEXEC));
        unlink(name.c_str());
    }
    return file ? std::move(file) : throw std::runtime_error("no temporary file in " + folder);
}

PayloadWriter::PayloadWriter() : file_(unnamedFile()), writer_(newWriteArchive()) {
    archive_write_set_format_cpio_odc(writer_.get());
    archive_write_add_filter_gzip(writer_.get());
    archive_write_set_bytes_in_last_block(writer_.get(), 1);
    check(archive_write_open_fd(writer_.get(), file_.get()), writer_.get(), "payload");
}

void PayloadWriter::begin(const ArchiveEntry &entry) {
    check(archive_write_header(writer_.get(), entry.get()), writer_.get(), "payload");
}

void PayloadWriter::write(std::string_view bytes) {
    writeBytes(writer_.get(), bytes);
}

void PayloadWriter::addFolder(const std::string &path, mode_t mode) {
    begin(newEntry(path, AE_IFDIR, mode, 0));
}

void PayloadWriter::addFile(const std::string &path, std::string_view content, mode_t mode) {
    begin(newEntry(path, AE_IFREG, mode, static_cast<std::int64_t>(content.size())));
    write(content);
}

void PayloadWriter::addSymbolicLink(const std::string &path, const std::string &target) {
    const ArchiveEntry entry = newEntry(path, AE_IFLNK, 0755, 0);
    archive_entry_set_symlink(entry.get(), target.c_str());
    begin(entry);
}

void PayloadWriter::addLinkedFiles(const std::string &path, const std::string &secondPath, std::string_view content) {
    ++linkedPairs_;
    for (const std::string &name : {path, secondPath}) {
        const ArchiveEntry entry = newEntry(name, AE_IFREG, 0644, static_cast<std::int64_t>(content.size()));
        archive_entry_set_ino64(entry.get(), linkedPairs_);
        archive_entry_set_nlink(entry.get(), 2);
        begin(entry);
        write(content);
    }
}

void PayloadWriter::addRandomFile(const std::string &path, std::int64_t sizeBytes) {
    begin(newEntry(path, AE_IFREG, 0644, sizeBytes));
    std::mt19937_64 random; // NOLINT: the same bytes each time are what is wanted
    std::array<std::uint64_t, kBlockBytes / sizeof(std::uint64_t)> block{};
    for (std::int64_t left = sizeBytes; left > 0; left -= static_cast<std::int64_t>(kBlockBytes)) {
        const auto length = static_cast<std::size_t>(std::min(left, static_cast<std::int64_t>(kBlockBytes)));
        std::generate_n(block.begin(), (length + sizeof(std::uint64_t) - 1) / sizeof(std::uint64_t), std::ref(random));
        write({reinterpret_cast<const char *>(block.data()), length});
    }
}

void PayloadWriter::addTree(const std::filesystem::path &folder) {
    std::vector<std::filesystem::path> paths;
    for (const auto &entry : std::filesystem::recursive_directory_iterator(folder)) {
        paths.push_back(entry.path());
    }
    std::ranges::sort(paths);
    addFolder(".");
    for (const std::filesystem::path &path : paths) {
        const std::string name = std::string("./").append(path.lexically_relative(folder).string());
        const auto owner = std::filesystem::status(path).permissions() & std::filesystem::perms::owner_exec;
        if (std::filesystem::is_directory(path)) {
            addFolder(name);
        } else {
            addFile(name, readWholeFile(path.string()), owner == std::filesystem::perms::none ? 0644 : 0755);
        }
    }
}

UniqueFd PayloadWriter::finish() {
    check(archive_write_close(writer_.get()), writer_.get(), "payload");
    return std::move(file_);
}

void writeFlatPackage(const std::string &path, const std::vector<PackageMember> &members) {
    if (const auto found = std::filesystem::status(path); exists(found) && !is_regular_file(found)) {
        throw std::runtime_error(path + " is there already and no regular file");
    }
    const std::string unfinished = path + ".unfinished";
    try {
        const WriteArchive writer = newWriteArchive();
        archive_write_set_format_xar(writer.get());
        check(archive_write_set_format_option(writer.get(), "xar", "compression", "none"), writer.get(), "package");
        check(archive_write_open_filename(writer.get(), unfinished.c_str()), writer.get(), unfinished.c_str());
        writeMembers(writer.get(), members);
        check(archive_write_close(writer.get()), writer.get(), "package");
        std::filesystem::rename(unfinished, path);
    } catch (...) {
        std::error_code ignored;
        std::filesystem::remove(unfinished, ignored);
        throw;
    }
}

std::string packageInfoText(std::string_view identifier, std::string_view version, std::int64_t payloadBytes,
                            std::string_view installLocation) {
    pugi::xml_document document;
    addXmlDeclaration(document);
    pugi::xml_node info = document.append_child("pkg-info");
    setAttribute(info, "format-version", "2");
    setAttribute(info, "identifier", identifier);
    setAttribute(info, "version", version);
    setAttribute(info, "install-location", installLocation);
    setAttribute(info, "auth", "root");
    info.append_child("payload").append_attribute("installKBytes") = (payloadBytes + 1023) / 1024;
    pugi::xml_node scripts = info.append_child("scripts");
    setAttribute(scripts.append_child("preinstall"), "file", "./preinstall");
    setAttribute(scripts.append_child("postinstall"), "file", "./postinstall");
    return xmlText(document);
}

std::string distributionText(std::string_view title, std::string_view identifier, std::string_view version,
                             std::string_view componentFolder) {
    pugi::xml_document document;
    addXmlDeclaration(document);
    pugi::xml_node root = document.append_child("installer-gui-script");
    setAttribute(root, "minSpecVersion", "1");
    root.append_child("title").text() = std::string(title).c_str();
    pugi::xml_node choice = root.append_child("choice");
    setAttribute(choice, "id", "default");
    setAttribute(choice.append_child("pkg-ref"), "id", identifier);
    setAttribute(root.append_child("choices-outline").append_child("line"), "choice", "default");
    pugi::xml_node reference = root.append_child("pkg-ref");
    setAttribute(reference, "id", identifier);
    setAttribute(reference, "version", version);
    reference.text() = std::string(1, '#').append(percentEncoded(componentFolder)).c_str();
    return xmlText(document);
}

} // namespace kyb::macroot
