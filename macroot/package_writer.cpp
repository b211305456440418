#include "package_writer.h"

#include "posix/file_io.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <fcntl.h>
#include <limits>
#include <numeric>
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

std::int64_t sizeOf(int file, const std::string &name) {
    struct stat found = {};
    return fstat(file, &found) == 0 ? found.st_size : throw std::runtime_error(name + " cannot be read");
}

std::int64_t sizeOf(const PackageMember &member) {
    return member.file < 0 ? static_cast<std::int64_t>(member.text.size()) : sizeOf(member.file, member.name);
}

void writeBytes(archive *writer, std::string_view bytes) {
    if (!bytes.empty() && archive_write_data(writer, bytes.data(), bytes.size()) < 0) {
        throwError(writer, "data");
    }
}

/// Hands a whole file on, from its beginning; \p name is for messages.
void eachBlock(int file, const std::string &name, const std::function<void(std::string_view)> &use) {
    std::array<char, kBlockBytes> block; // NOLINT(cppcoreguidelines-pro-type-member-init): filled by each read
    const std::int64_t size = sizeOf(file, name);
    off_t offset = 0;
    ssize_t got = 0;
    while ((got = pread(file, block.data(), block.size(), offset)) > 0) {
        use({block.data(), static_cast<std::size_t>(got)});
        offset += got;
    }
    if (got < 0 || offset != size) {
        throw std::runtime_error(name + (got < 0 ? " cannot be read" : " was changed while it was read"));
    }
}

void writeContent(archive *writer, const PackageMember &member) {
    writeBytes(writer, member.text);
    if (member.file >= 0) {
        eachBlock(member.file, member.name, [writer](std::string_view bytes) { writeBytes(writer, bytes); });
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

off_t bytesOfTable(int file, const std::string &name) {
    std::array<unsigned char, 8> field{};
    if (pread(file, field.data(), field.size(), 8) != std::ssize(field)) {
        throw std::runtime_error(name + " cannot be read");
    }
    return std::accumulate(field.begin(), field.end(), off_t{0},
                           [](off_t value, unsigned char byte) { return value * 256 + byte; });
}

// NB: libarchive copies more of its temporary file than the members: as much again as the checksum of the table.
void cutSurplus(const std::string &path, const std::vector<PackageMember> &members) {
    constexpr off_t kHeaderBytes = 28;
    constexpr off_t kChecksumBytes = 20;
    const UniqueFd file = openRegularFile(path, O_RDWR);
    const off_t end =
        std::accumulate(members.begin(), members.end(), kHeaderBytes + bytesOfTable(file.get(), path) + kChecksumBytes,
                        [](off_t sum, const PackageMember &member) { return sum + sizeOf(member); });
    if (ftruncate(file.get(), end) != 0) {
        throw std::runtime_error(path + " cannot be finished");
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
    std::string name = folder + "/package.XXXXXX";
    UniqueFd file(mkostemp(name.data(), O_CLOEXEC));
    unlink(name.c_str());
    return file ? std::move(file) : throw std::runtime_error("no temporary file in " + folder);
}

PayloadWriter::PayloadWriter() : file_(unnamedFile()), writer_(newWriteArchive()) {
    archive_write_set_format_cpio_odc(writer_.get());
    archive_write_add_filter_gzip(writer_.get());
    archive_write_set_bytes_in_last_block(writer_.get(), 1);
    check(archive_write_open_fd(writer_.get(), file_.get()), writer_.get(), "payload");
}

void PayloadWriter::begin(const ArchiveEntry &entry) {
    const std::int64_t size = archive_entry_size(entry.get());
    if (size > std::numeric_limits<std::uint32_t>::max()) {
        throw std::runtime_error(entryPath(entry.get()) + " is too large: it has more than 4 GiB");
    }
    if (archive_entry_ino64(entry.get()) == 0) {
        archive_entry_set_ino64(entry.get(), 1); // any: libarchive numbers the items, but those alone that have one
    }
    check(archive_write_header(writer_.get(), entry.get()), writer_.get(), "payload");
    items_.push_back({.path = entryPath(entry.get()),
                      .mode = archive_entry_mode(entry.get()),
                      .modified = static_cast<std::uint32_t>(archive_entry_mtime(entry.get())),
                      .sizeBytes = static_cast<std::uint32_t>(size),
                      .checksum = {},
                      .linkTarget = {}});
}

void PayloadWriter::write(std::string_view bytes) {
    writeBytes(writer_.get(), bytes);
    items_.back().checksum.add(bytes);
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
    items_.back().sizeBytes = static_cast<std::uint32_t>(target.size());
    items_.back().checksum.add(target);
    items_.back().linkTarget = target;
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

void PayloadWriter::addTree(const std::filesystem::path &folder, const std::string &place) {
    std::vector<std::filesystem::path> paths;
    for (const auto &entry : std::filesystem::recursive_directory_iterator(folder)) {
        paths.push_back(entry.path());
    }
    std::ranges::sort(paths);
    addFolder(place);
    for (const std::filesystem::path &path : paths) {
        addCopy(path, place + '/' + path.lexically_relative(folder).string());
    }
}

void PayloadWriter::addCopy(const std::filesystem::path &source, const std::string &path) {
    const std::filesystem::file_status found = symlink_status(source);
    if (is_symlink(found)) {
        addSymbolicLink(path, read_symlink(source).string());
    } else if (is_directory(found)) {
        addFolder(path);
    } else {
        const bool isProgram =
            (found.permissions() & std::filesystem::perms::owner_exec) != std::filesystem::perms::none;
        addFileFrom(source, path, isProgram ? 0755 : 0644);
    }
}

void PayloadWriter::addFileFrom(const std::filesystem::path &source, const std::string &path, mode_t mode) {
    const UniqueFd file = openRegularFile(source.string(), O_RDONLY);
    if (!file) {
        throw std::runtime_error(source.string() + " is no file that can be read");
    }
    begin(newEntry(path, AE_IFREG, mode, sizeOf(file.get(), source.string())));
    eachBlock(file.get(), source.string(), [this](std::string_view bytes) { write(bytes); });
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
        cutSurplus(unfinished, members);
        std::filesystem::rename(unfinished, path);
    } catch (...) {
        std::error_code ignored;
        std::filesystem::remove(unfinished, ignored);
        throw;
    }
}

std::string packageInfoText(const PackageDescription &description) {
    pugi::xml_document document;
    addXmlDeclaration(document);
    pugi::xml_node info = document.append_child("pkg-info");
    setAttribute(info, "format-version", "2");
    setAttribute(info, "identifier", description.identifier);
    setAttribute(info, "version", description.version);
    setAttribute(info, "install-location", description.installLocation);
    setAttribute(info, "auth", "root");
    setAttribute(info, "overwrite-permissions", "false"); // of folders that are there, such as the system's own
    setAttribute(info, "relocatable", "false");           // to where the user has put another copy
    pugi::xml_node payload = info.append_child("payload");
    payload.append_attribute("installKBytes") = (totalBytes(description.payload) + 1023) / 1024;
    payload.append_attribute("numberOfFiles") = description.payload.size();
    pugi::xml_node scripts = info.append_child("scripts");
    for (const std::string &script : description.scripts) {
        setAttribute(scripts.append_child(script.c_str()), "file", "./" + script);
    }
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
