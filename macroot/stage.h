#pragma once

#include "payload.h"
#include "posix/UniqueFd.h"

#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace kyb::macroot {

/// The installer's own folder below the root, where files wait until all of them can be moved into place, and the
/// record that lets every move be rolled back, by this run or, after a kill, by the next one. All calls need the
/// InstallLock. An object that is destroyed before commit() rolls back what was placed and removes the folder.
class Stage {
public:
    static constexpr std::string_view kFolder = "var/db/.installer-stage";
    /// Where it goes to be removed. What cannot be removed yet waits there for a later run.
    static constexpr std::string_view kTrash = "var/db/.installer-trash";
    /// Where earlier files are kept that could not be put back to their places.
    static constexpr std::string_view kKept = "var/db/.installer-kept";

    /// Rolls back what a killed run had placed but not committed, and takes its folder away, so that no later run is
    /// held up by it. Throws InstallError when something could not be rolled back; all else was then. \return whether
    /// there was one.
    static bool recover(int root);

    /// Looks whether every item can go to its place. Throws InstallError when a link or a thing of another kind stands
    /// in the way.
    static void checkPlaces(int root, const PayloadList::Items &items);

    /// Makes the empty folder. \p root is the open root folder and must stay open. Throws InstallError, and leaves
    /// nothing then.
    explicit Stage(int root);
    Stage(const Stage &) = delete;
    Stage &operator=(const Stage &) = delete;
    ~Stage();

    /// The folder in which the files wait, each at the path that it will have below the root.
    int files() const { return files_.get(); }
    /// A new folder of the stage for other things; \p name has one part.
    UniqueFd makeFolder(std::string_view name) const;

    /// Records what placing every item will do. To be called once, before place(). Throws InstallError as
    /// checkPlaces() does; nothing is then changed.
    void plan(const PayloadList::Items &items);
    /// Moves a planned item from files() to its place, in one step; a folder that is there already stays as it is, a
    /// new one is private for now. Throws InstallError.
    void place(const PayloadItem &item);
    /// Gives the folders that place() made the modes of their items. To be called once all is placed: not every mode
    /// lets an ordinary user fill or look into the folder. Throws InstallError.
    void giveFolderModes() const;
    /// From here on what was placed stays.
    void commit();
    /// Removes the folder. Throws InstallError when something is left in the trash.
    void remove();

private:
    Stage(int root, UniqueFd folder) : root_(root), stage_(std::move(folder)) {}

    void save(const std::string &path) const;
    void placeFolder(const PayloadItem &item);

    int root_;
    UniqueFd stage_;
    UniqueFd files_;
    UniqueFd saved_; ///< earlier files, each at its path, under a second name
    std::set<std::string, std::less<>> replaced_;
    std::vector<PayloadItem> newFolders_; ///< outer ones first
};

/// Lets one installer at a time work below a root; gone with the object, and with the process.
class InstallLock {
public:
    /// Opens the lock file, without waiting for anything.
    explicit InstallLock(int root);
    /// Takes the lock if nobody has it.
    bool tryToTake() const;

private:
    UniqueFd file_;
};

} // namespace kyb::macroot
