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
#include <vector>

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
constexpr std::string_view kLockPath = "var/run/installer.lock";
constexpr std::array kOwnPlaces{Stage::kFolder, Stage::kTrash, kLockPath};

std::vector<std::string> readPlan(int stage) {
    std::vector<std::string> records = splitText(readFileBelow(stage, kPlanName).value_or(""), '\0');
    std::erase(records, std::string()); // behind the last zero byte
    return records;
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
        if (!lookBelow(stage, joinedPath(kFilesName, path))) {
            removeFileBelow(root, path);
        }
        break;
    case Replaced:
        if (lookBelow(stage, saved)) {
            moveBelow(stage, saved, root, path);
        }
        break;
    default:
        throw InstallError("the record of an earlier run is damaged");
    }
}

void rollAllBack(int root, int stage) {
    const std::vector<std::string> records = readPlan(stage);
    std::for_each(records.rbegin(), records.rend(), [=](const std::string &record) { rollBack(root, stage, record); });
}

bool isOwnPlace(const std::string &path) {
    return std::ranges::any_of(kOwnPlaces, [&path](std::string_view place) {
        return path.starts_with(place) && (path.size() == place.size() || path[place.size()] == '/');
    });
}

/// Takes the stage's folder out of the way, in one step: whatever still works in it, such as a process that a script
/// left behind, goes along and can at worst keep the trash from being emptied.
void moveToTrash(int root) {
    const UniqueFd trash = makeFolderBelow(root, Stage::kTrash);
    int number = 0;
    while (lookBelow(trash.get(), std::to_string(number))) {
        ++number;
    }
    moveBelow(root, Stage::kFolder, trash.get(), std::to_string(number));
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

void placeFolder(int root, const PayloadItem &item) {
    if (lookBelow(root, item.path)) {
        return;
    }
    const UniqueFd made = makeFolderBelow(root, item.path);
    if (fchmod(made.get(), item.mode) != 0) {
        throwLastError(shownPath(item.path));
    }
}

} // namespace

bool Stage::recover(int root) {
    const UniqueFd stage = openFolderBelow(root, kFolder);
    if (stage) {
        rollAllBack(root, stage.get());
        moveToTrash(root);
    }
    try {
        removeBelow(root, kTrash);
    } catch (const InstallError &) { // whatever still works in it ends some day; a later run takes it away
    }
    return static_cast<bool>(stage);
}

Stage::Stage(int root) : root_(root), stage_(makeFolderBelow(root, kFolder)) {
    if (fchmod(stage_.get(), 0700) != 0) {
        throwLastError(shownPath(kFolder));
    }
    files_ = makeFolder(kFilesName);
    saved_ = makeFolder(kSavedName);
}

Stage::~Stage() {
    try {
        recover(root_); // nothing is rolled back after a commit
    } catch (const InstallError &error) {
        std::fprintf(stderr, "installer: %s (the next run tries again)\n", error.what());
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
        placeFolder(root_, item);
        return;
    }
    if (replaced_.contains(item.path)) {
        makeFolderBelow(saved_.get(), parentPath(item.path));
        hardLinkBelow(root_, item.path, saved_.get(), item.path);
    }
    moveBelow(files_.get(), item.path, root_, item.path);
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
