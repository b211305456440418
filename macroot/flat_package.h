#pragma once

#include "package_info.h"
#include "posix/UniqueFd.h"

#include <archive.h>
#include <functional>
#include <set>
#include <stdexcept>
#include <string>
#include <vector>

namespace kyb::macroot {

/// The file is not there, or is no flat package.
class NotAPackage : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// One installable part of a package.
struct Component {
    std::string folder; ///< its folder in a product archive; "" when the package is this one component
    PackageInfo info;

    std::string member(const char *name) const;
};

/// A flat package: a xar archive with a PackageInfo, or with a Distribution and a folder for each component.
/// The file stays open from the constructor on, so that all passes read the same file.
class FlatPackage {
public:
    /// Throws NotAPackage, or InstallError for a package whose descriptions cannot be used. \p onStep is called before
    /// each of them is read and before each is parsed; it throws to stop the work.
    explicit FlatPackage(
        const std::string &path, const std::function<void()> &onStep = [] {});

    const std::string &path() const { return path_; }
    /// What the package calls itself; the file's name without ".pkg" when it does not say.
    const std::string &title() const { return title_; }
    const std::vector<Component> &components() const { return components_; }

    /// Opens the compressed cpio archive \p name ("Payload", "Scripts") of each component that has one, in the order of
    /// the file, and hands it to \p use, which reads it to its end. Throws InstallError when one turns out cut off or
    /// damaged.
    using ArchiveUse = std::function<void(const Component &, archive *)>;
    void eachArchive(const char *name, const ArchiveUse &use) const;

private:
    using MemberUse = std::function<void(const std::string &name, archive *)>;

    void eachMember(const MemberUse &use) const;
    void readDescriptions(const std::function<void()> &onStep);
    void readComponents(const std::vector<std::string> &folders, const std::function<void()> &onStep);
    const std::string *description(const std::string &name) const;

    std::string path_;
    UniqueFd file_;
    std::string title_;
    std::vector<Component> components_;
    std::set<std::string> members_;
    std::vector<std::pair<std::string, std::string>> descriptions_; ///< PackageInfo and Distribution files: name, text
};

} // namespace kyb::macroot
