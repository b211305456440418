#include "stage.h"

#include "folder_walk.h"
#include "install_error.h"
#include "payload_path.h"
#include "texts.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <fcntl.h>
#include <sys/file.h>

namespace kyb::macroot {
namespace {

using Kind = PayloadItem::Kind;

// What placing one item does. It stands before the item's path in the plan, and a zero byte ends each record.
// A folder that is there already has no record.
enum Change : char { NewFolder = 'D', NewFile = 'N', Replaced = 'R' };

constexpr std::string_view kPlanName = "plan";
constexpr std::string_view kUnfinishedPlanName = "plan.new";
constexpr std::string_view kFilesName = "files";
constexpr std::string_view kSavedName = "saved";
constexpr std::string_view kGoneName = "gone"; // a folder at the path of each file to be replaced that was gone by then
constexpr std::string_view kLockPath = "var/run/installer.lock";
constexpr std::array kOwnPlaces{Stage::kFolder, Stage::kTrash, Stage::kKept, kLockPath};

// NB: a script may have put anything at the plan's place, and what is no file was never a plan.
std::vector<std::string> readPlan(int stage) {
    if (const auto found = lookBelow(stage, kPlanName); !found || !S_ISREG(found->st_mode)) {
        return {};
    }
    std::vector<std::string> records = splitText(readFileBelow(stage, kPlanName).value_or(""), '\0');
    std::erase(records, std::string()); // behind the last zero byte
    return records;
}

void removeNewFile(int root, int stage, const std::string &path) {
    if (!lookBelow(stage, joinedPath(kFilesName, path))) {
        removeFileBelow(root, path);
    }
}

// NB: idempotent: it may meet a change that was not made yet, was made, or was rolled back already.
void rollBack(int root, int stage, const std::string &record) {
    const std::string path = record.substr(1);
    const std::string saved = joinedPath(kSavedName, path);
    switch (record.front()) {
    case NewFolder:
        removeEmptyFolderBelow(root, path);
        break;
    case NewFile:
        removeNewFile(root, stage, path);
        break;
    case Replaced:
        if (lookBelow(stage, joinedPath(kGoneName, path))) {
            removeNewFile(root, stage, path);
        } else if (lookBelow(stage, saved)) {
            makeFolderBelow(root, parentPath(path)); // a script may have taken it away
            moveBelow(stage, saved, root, path);
        }
        break;
    default:
        throw InstallError("the record of an earlier run is damaged");
    }
}

/// Rolls back all that can be. \return why something could not be, the first such reason; "" when all was.
std::string rollAllBack(int root, int stage) {
    std::string problem;
    const auto attempt = [&problem](const auto &step) {
        try {
            step();
        } catch (const InstallError &error) {
            problem = problem.empty() ? error.what() : problem;
        }
    };
    std::vector<std::string> records;
    attempt([&] { records = readPlan(stage); });
    for (const std::string &record : records) { // outer folders first, the other way round below
        if (record.front() == NewFolder) {
            attempt([&] { openUpBelow(root, record.substr(1)); });
        }
    }
    std::for_each(records.rbegin(), records.rend(),
                  [&](const std::string &record) { attempt([&] { rollBack(root, stage, record); }); });
    return problem;
}

bool isOwnPlace(const std::string &path) {
    return std::ranges::any_of(kOwnPlaces, [&path](std::string_view place) {
        return path.starts_with(place) && (path.size() == place.size() || path[place.size()] == '/');
    });
}

/// Moves what stands at \p from into the folder \p to, under the first free number. \return where it is now.
std::string moveAside(int root, std::string_view from, std::string_view to) {
    clearWayBelow(root, to);
    const UniqueFd folder = makePrivateFolderBelow(root, to);
    int number = 0;
    while (lookBelow(folder.get(), std::to_string(number))) {
        ++number;
    }
    moveBelow(root, from, folder.get(), std::to_string(number));
    return shownPath(joinedPath(to, std::to_string(number)));
}

/// Takes the stage's folder out of the way, in one step: whatever still works in it, such as a process that a script
/// left behind, goes along and can at worst keep the trash from being emptied.
void moveToTrash(int root) {
    clearWayBelow(root, Stage::kFolder);
    moveAside(root, Stage::kFolder, Stage::kTrash);
}

/// Where the earlier files wait that could not be put back, as a text for a message; "" when there are none.
std::string keepTheRest(int root, int stage) {
    removeEmptyFolderBelow(stage, kSavedName);
    if (!lookBelow(stage, kSavedName)) {
        return {};
    }
    return " (the rest of what was there before is kept in " +
           moveAside(root, joinedPath(Stage::kFolder, kSavedName), Stage::kKept) + ")";
}

// What the item will do at its place; throws when something that must stay is in the way. Nothing to do gives no text.
std::string plannedRecord(int root, const PayloadItem &item) {
    if (isOwnPlace(item.path)) {
        throw InstallError(shownPath(item.path) + ": this place is the installer's own");
    }
    const std::optional<struct stat> found = lookBelow(root, item.path);
    const bool isFolder = item.kind == Kind::Folder;
    if (found && (S_ISDIR(found->st_mode) != 0) != isFolder) {
        throw InstallError(shownPath(item.path) + ": " + (isFolder ? "no folder" : "a folder") +
                           " stands at this place");
    }
    if (!found) {
        return static_cast<char>(isFolder ? NewFolder : NewFile) + item.path;
    }
    return isFolder ? std::string() : static_cast<char>(Replaced) + item.path;
}

} // namespace

bool Stage::recover(int root) {
    clearWayBelow(root, kFolder);
    const UniqueFd stage = openFolderBelow(root, kFolder);
    std::string problem;
    if (stage) {
        clearWayBelow(stage.get(), kFilesName);
        clearWayBelow(stage.get(), kSavedName);
        clearWayBelow(stage.get(), kGoneName);
        problem = rollAllBack(root, stage.get());
        problem += problem.empty() ? "" : keepTheRest(root, stage.get());
        moveToTrash(root);
    }
    try {
        removeBelow(root, kTrash);
    } catch (const InstallError &) { // whatever still works in it ends some day; a later run takes it away
    }
    if (!problem.empty()) {
        throw InstallError("Not all could be rolled back: " + problem);
    }
    return static_cast<bool>(stage);
}

Stage::Stage(int root) : Stage(root, UniqueFd()) { // so that what is made is taken away when the rest cannot be
    stage_ = makePrivateFolderBelow(root, kFolder);
    files_ = makeFolder(kFilesName);
    saved_ = makeFolder(kSavedName);
}

Stage::~Stage() {
    try {
        recover(root_); // nothing is rolled back after a commit
    } catch (const InstallError &error) {
        std::fprintf(stderr, "installer: %s\n", error.what());
    }
}

UniqueFd Stage::makeFolder(std::string_view name) const {
    return makeFolderBelow(stage_.get(), name);
}

void Stage::checkPlaces(int root, const PayloadList::Items &items) {
    for (const auto &[path, item] : items) {
        plannedRecord(root, item);
    }
}

void Stage::plan(const PayloadList::Items &items) {
    std::string records;
    for (const auto &[path, item] : items) {
        const std::string record = plannedRecord(root_, item);
        if (!record.empty()) {
            records += record + '\0';
        }
        if (record.starts_with(Replaced)) {
            replaced_.insert(path);
        }
    }
    writeFileBelow(stage_.get(), kUnfinishedPlanName, records, 0600);
    moveBelow(stage_.get(), kUnfinishedPlanName, stage_.get(), kPlanName);
}

void Stage::place(const PayloadItem &item) {
    if (item.kind == Kind::Folder) {
        placeFolder(item);
        return;
    }
    if (replaced_.contains(item.path)) {
        save(item.path);
    }
    moveBelow(files_.get(), item.path, root_, item.path);
}

// The earlier file may be gone: an uninstallation does not wait for anybody. The new one then replaces nothing.
void Stage::save(const std::string &path) const {
    makeFolderBelow(saved_.get(), parentPath(path));
    try {
        hardLinkBelow(root_, path, saved_.get(), path);
    } catch (const InstallError &) {
        if (lookBelow(root_, path)) {
            throw;
        }
        makeFolderBelow(stage_.get(), joinedPath(kGoneName, path));
    }
}

void Stage::placeFolder(const PayloadItem &item) {
    if (!lookBelow(root_, item.path)) {
        makePrivateFolderBelow(root_, item.path);
        newFolders_.push_back(item);
    }
}

void Stage::giveFolderModes() const {
    std::for_each(newFolders_.rbegin(), newFolders_.rend(), [this](const PayloadItem &folder) { // inner ones first
        const UniqueFd made = openFolderBelow(root_, folder.path);
        if (!made || fchmod(made.get(), folder.mode) != 0) {
            throwLastError(shownPath(folder.path));
        }
    });
}

void Stage::commit() {
    removeFileBelow(stage_.get(), kPlanName);
}

void Stage::remove() {
    moveToTrash(root_);
    removeBelow(root_, kTrash);
}

InstallLock::InstallLock(int root) {
    const UniqueFd place = makeFolderBelow(root, parentPath(kLockPath));
    const std::string name(leafName(kLockPath));
    file_ = UniqueFd(openat(place.get(), name.c_str(), O_RDWR | O_CREAT | O_NOFOLLOW | O_CLOEXEC | O_NONBLOCK, 0600));
    if (!file_) {
        throwLastError(shownPath(kLockPath));
    }
}

bool InstallLock::tryToTake() const {
    if (flock(file_.get(), LOCK_EX | LOCK_NB) == 0) {
        return true;
    }
    if (errno != EWOULDBLOCK) {
        throwLastError(shownPath(kLockPath));
    }
    return false;
}

} // namespace kyb::macroot
