#include "flat_package.h"

#include "archive_handle.h"
#include "install_error.h"
#include "payload_path.h"
#include "posix/file_io.h"

#include <algorithm>
#include <array>

namespace kyb::macroot {
namespace {

constexpr std::size_t kReadBlockBytes = std::size_t{64} * 1024;
constexpr std::size_t kLongestDescriptionBytes = std::size_t{1024} * 1024;

std::string titleFromFileName(const std::string &path) {
    std::string name(leafName(path));
    if (name.ends_with(".pkg")) {
        name.resize(name.size() - 4);
    }
    return name;
}

std::string readText(archive *reader, const std::string &name) {
    std::string text;
    std::array<char, 4096> block{};
    la_ssize_t got = 0;
    while ((got = archive_read_data(reader, block.data(), block.size())) > 0) {
        text.append(block.data(), static_cast<std::size_t>(got));
        if (text.size() > kLongestDescriptionBytes) {
            throw InstallError("The package's " + name + " is too long");
        }
    }
    if (got < 0) {
        throw InstallError("The package's " + name + " cannot be read: " + archiveErrorText(reader));
    }
    return text;
}

// Lets one archive be read out of a member of another one.
la_ssize_t readOuterBlock(archive *inner, void *outer, const void **block) {
    std::size_t size = 0;
    la_int64_t offset = 0;
    auto *const reader = static_cast<archive *>(outer);
    const int result = archive_read_data_block(reader, block, &size, &offset);
    if (result == ARCHIVE_EOF) {
        return 0;
    }
    if (result != ARCHIVE_OK) {
        archive_set_error(inner, archive_errno(reader), "%s", archiveErrorText(reader).c_str());
        return ARCHIVE_FATAL;
    }
    return static_cast<la_ssize_t>(size);
}

// The checksum of a member is compared at its very end, and only when all of it is read.
void readRest(archive *outer, const std::string &name) {
    const void *block = nullptr;
    la_ssize_t got = 0;
    while ((got = readOuterBlock(outer, outer, &block)) > 0) {
    }
    if (got < 0) {
        throw InstallError("The package's " + name + " is damaged: " + archiveErrorText(outer));
    }
}

void useInnerArchive(archive *outer, const std::string &name, const std::function<void(archive *)> &use) {
    const ReadArchive inner = newReadArchive();
    archive_read_support_filter_gzip(inner.get());
    archive_read_support_format_cpio(inner.get());
    if (archive_read_open(inner.get(), outer, nullptr, readOuterBlock, nullptr) != ARCHIVE_OK) {
        throw InstallError("The package's " + name + " cannot be read: " + archiveErrorText(inner.get()));
    }
    use(inner.get());
    readRest(outer, name);
}

} // namespace

std::string Component::member(const char *name) const {
    return joinedPath(folder, name);
}

FlatPackage::FlatPackage(const std::string &path)
    : path_(path), file_(openRegularFile(path, O_RDONLY)), title_(titleFromFileName(path)) {
    if (!file_) {
        throw NotAPackage(path);
    }
    readDescriptions();
    if (const std::string *const text = description("Distribution"); text != nullptr) {
        const Distribution distribution = parseDistribution(*text);
        title_ = distribution.title.empty() ? title_ : distribution.title;
        readComponents(distribution.componentFolders);
    } else if (description("PackageInfo") != nullptr) {
        readComponents({""});
    } else {
        throw NotAPackage(path);
    }
}

void FlatPackage::eachMember(const MemberUse &use) const {
    const ReadArchive reader = newReadArchive();
    archive_read_support_format_xar(reader.get());
    lseek(file_.get(), 0, SEEK_SET);
    if (archive_read_open_fd(reader.get(), file_.get(), kReadBlockBytes) != ARCHIVE_OK) {
        throw NotAPackage(path_);
    }
    archive_entry *entry = nullptr;
    int result = ARCHIVE_OK;
    while ((result = archive_read_next_header(reader.get(), &entry)) == ARCHIVE_OK) {
        use(entryPath(entry), reader.get());
    }
    if (result != ARCHIVE_EOF) {
        throw NotAPackage(path_);
    }
}

void FlatPackage::readDescriptions() {
    eachMember([this](const std::string &name, archive *reader) {
        members_.push_back(name);
        if (const std::string_view leaf = leafName(name); leaf == "PackageInfo" || leaf == "Distribution") {
            descriptions_.emplace_back(name, readText(reader, name));
        }
    });
}

void FlatPackage::readComponents(const std::vector<std::string> &folders) {
    for (const std::string &folder : folders) {
        Component component;
        component.folder = folder;
        const std::string *const text = description(component.member("PackageInfo"));
        if (text == nullptr) {
            throw InstallError("The package has no component " + folder);
        }
        component.info = parsePackageInfo(*text);
        const auto has = [this](const std::string &name) { return std::ranges::count(members_, name) > 0; };
        component.hasPayload = has(component.member("Payload"));
        component.hasScripts = has(component.member("Scripts"));
        components_.push_back(std::move(component));
    }
}

const std::string *FlatPackage::description(const std::string &name) const {
    const auto found = std::ranges::find(descriptions_, name, &std::pair<std::string, std::string>::first);
    return found == descriptions_.end() ? nullptr : &found->second;
}

void FlatPackage::readArchive(const std::string &name, const std::function<void(archive *)> &use) const {
    bool found = false;
    try {
        eachMember([&](const std::string &member, archive *reader) {
            if (member == name && !found) {
                found = true;
                useInnerArchive(reader, name, use);
            }
        });
    } catch (const NotAPackage &) {
        throw InstallError("The package is damaged: " + path_);
    }
    if (!found) {
        throw InstallError("The package has no " + name);
    }
}

} // namespace kyb::macroot
