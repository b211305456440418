#include "flat_package.h"

#include "archive_handle.h"
#include "install_error.h"
#include "payload_path.h"
#include "posix/file_io.h"

#include <algorithm>
#include <map>

namespace kyb::macroot {
namespace {

constexpr std::size_t kReadBlockBytes = std::size_t{64} * 1024;
constexpr std::size_t kLongestDescriptionBytes = std::size_t{1024} * 1024;
constexpr std::size_t kAllDescriptionsBytes = 64 * kLongestDescriptionBytes; // they are all in memory at once

std::string titleFromFileName(const std::string &path) {
    std::string name(leafName(path));
    if (name.ends_with(".pkg")) {
        name.resize(name.size() - 4);
    }
    return name;
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

// NB: not by archive_read_data(): it puts as many zero bytes in front as earlier members of a xar archive had.
std::string readText(archive *reader, const std::string &name) {
    std::string text;
    const void *block = nullptr;
    la_ssize_t got = 0;
    while ((got = readOuterBlock(reader, reader, &block)) > 0) {
        text.append(static_cast<const char *>(block), static_cast<std::size_t>(got));
        if (text.size() > kLongestDescriptionBytes) {
            throw InstallError("The package's " + name + " is too long");
        }
    }
    if (got < 0) {
        throw InstallError("The package's " + name + " cannot be read: " + archiveErrorText(reader));
    }
    return text;
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

FlatPackage::FlatPackage(const std::string &path, const std::function<void()> &onStep)
    : path_(path), file_(openRegularFile(path, O_RDONLY)), title_(titleFromFileName(path)) {
    if (!file_) {
        throw NotAPackage(path);
    }
    readDescriptions(onStep);
    if (const std::string *const text = description("Distribution"); text != nullptr) {
        const Distribution distribution = parseDistribution(*text);
        title_ = distribution.title.empty() ? title_ : distribution.title;
        readComponents(distribution.componentFolders, onStep);
    } else if (description("PackageInfo") != nullptr) {
        readComponents({""}, onStep);
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

void FlatPackage::readDescriptions(const std::function<void()> &onStep) {
    std::size_t bytes = 0;
    eachMember([&](const std::string &name, archive *reader) {
        onStep();
        members_.insert(name);
        if (const std::string_view leaf = leafName(name); leaf == "PackageInfo" || leaf == "Distribution") {
            descriptions_.emplace_back(name, readText(reader, name));
            bytes += descriptions_.back().second.size();
        }
        if (bytes > kAllDescriptionsBytes) {
            throw InstallError("The package's descriptions are too long");
        }
    });
}

void FlatPackage::readComponents(const std::vector<std::string> &folders, const std::function<void()> &onStep) {
    for (const std::string &folder : folders) {
        onStep();
        Component component;
        component.folder = folder;
        const std::string *const text = description(component.member("PackageInfo"));
        if (text == nullptr) {
            throw InstallError("The package has no component " + folder);
        }
        component.info = parsePackageInfo(*text);
        components_.push_back(std::move(component));
    }
}

const std::string *FlatPackage::description(const std::string &name) const {
    const auto found = std::ranges::find(descriptions_, name, &std::pair<std::string, std::string>::first);
    return found == descriptions_.end() ? nullptr : &found->second;
}

// NB: in one walk for all components: to begin one, libarchive reads the whole list of members.
void FlatPackage::eachArchive(const char *name, const ArchiveUse &use) const {
    std::map<std::string, const Component *> awaited;
    for (const Component &component : components_) {
        if (const std::string member = component.member(name); members_.contains(member)) {
            awaited.emplace(member, &component);
        }
    }
    try {
        eachMember([&](const std::string &member, archive *reader) {
            if (const auto found = awaited.extract(member); found) {
                useInnerArchive(reader, member, [&](archive *inner) { use(*found.mapped(), inner); });
            }
        });
    } catch (const NotAPackage &) {
        throw InstallError("The package is damaged: " + path_);
    }
    if (!awaited.empty()) {
        throw InstallError("The package has no " + awaited.begin()->first);
    }
}

} // namespace kyb::macroot
