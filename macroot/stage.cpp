#include "stage.h"

#include "folder_walk.h"
#include "install_error.h"
#include "payload_path.h"
#include "split_text.h"

#include <fcntl.h>
#include <sys/file.h>

#include <algorithm>
#include <cstdio>
#include <vector>

namespace kyb::macroot {

namespace {

using Kind = PayloadItem::Kind;

// What placing one item does. It stands before the item's path in the plan, and a zero byte ends each record.
// A folder that is there already has no record.
enum Deed : char { NewFolder = 'D', NewFile = 'N', Replaced = 'R' };

constexpr std::string_view planName = "plan";
constexpr std::string_view unfinishedPlanName = "plan.new";
constexpr std::string_view filesName = "files";
constexpr std::string_view savedName = "saved";
constexpr std::string_view lockPath = "var/run/installer.lock";

std::vector<std::string> readPlan(int stage) {
    std::vector<std::string> records = splitText(readFileBelow(stage, planName).value_or(""), '\0');
    std::erase(records, std::string()); // behind the last zero byte
    return records;
}

// NB: may meet a deed that was not done yet, was done, or was taken back already, and ends the same way each time.
void takeBack(int root, int stage, const std::string &record) {
    const std::string path = record.substr(1);
    const std::string saved = joinedPath(savedName, path);
    switch (record.front()) {
    case NewFolder:
        removeEmptyFolderBelow(root, path);
        break;
    case NewFile:
        if (!lookBelow(stage, joinedPath(filesName, path))) {
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

void takeAllBack(int root, int stage) {
    const std::vector<std::string> records = readPlan(stage);
    std::for_each(records.rbegin(), records.rend(), [=](const std::string &record) { takeBack(root, stage, record); });
}

// What the item will do at its place; throws when something that must stay is in the way. Nothing to do gives no text.
std::string plannedRecord(int root, const PayloadItem &item) {
    if (item.path == Stage::folder || item.path.starts_with(std::string(Stage::folder) + "/")) {
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
    if (::fchmod(made.get(), item.mode) != 0) {
        throwLastError(shownPath(item.path));
    }
}

} // namespace

bool Stage::recover(int root) {
    const UniqueFd stage = openFolderBelow(root, folder);
    if (!stage) {
        return false;
    }
    takeAllBack(root, stage.get());
    removeBelow(root, folder);
    return true;
}

Stage::Stage(int root) : m_root(root), m_stage(makeFolderBelow(root, folder)) {
    if (::fchmod(m_stage.get(), 0700) != 0) {
        throwLastError(shownPath(folder));
    }
    m_files = makeFolder(filesName);
    m_saved = makeFolder(savedName);
}

Stage::~Stage() {
    try {
        recover(m_root); // nothing is taken back after a commit
    } catch (const InstallError &error) {
        std::fprintf(stderr, "installer: %s (the next run tries again)\n", error.what());
    }
}

UniqueFd Stage::makeFolder(std::string_view name) const {
    return makeFolderBelow(m_stage.get(), name);
}

void Stage::checkPlaces(int root, const PayloadList::Items &items) {
    for (const auto &[path, item] : items) {
        (void)plannedRecord(root, item);
    }
}

void Stage::plan(const PayloadList::Items &items) {
    std::string records;
    for (const auto &[path, item] : items) {
        const std::string record = plannedRecord(m_root, item);
        if (!record.empty()) {
            records += record + '\0';
        }
        if (record.starts_with(Replaced)) {
            m_replaced.insert(path);
        }
    }
    writeFileBelow(m_stage.get(), unfinishedPlanName, records, 0600);
    moveBelow(m_stage.get(), unfinishedPlanName, m_stage.get(), planName);
}

void Stage::place(const PayloadItem &item) {
    if (item.kind == Kind::Folder) {
        placeFolder(m_root, item);
        return;
    }
    if (m_replaced.contains(item.path)) {
        makeFolderBelow(m_saved.get(), parentPath(item.path));
        hardLinkBelow(m_root, item.path, m_saved.get(), item.path);
    }
    moveBelow(m_files.get(), item.path, m_root, item.path);
}

void Stage::commit() {
    removeFileBelow(m_stage.get(), planName);
}

void Stage::remove() {
    removeBelow(m_root, folder);
}

InstallLock::InstallLock(int root) {
    const UniqueFd place = makeFolderBelow(root, parentPath(lockPath));
    const std::string name(leafName(lockPath));
    m_file =
        UniqueFd(::openat(place.get(), name.c_str(), O_RDWR | O_CREAT | O_NOFOLLOW | O_CLOEXEC | O_NONBLOCK, 0600));
    if (!m_file) {
        throwLastError(shownPath(lockPath));
    }
}

bool InstallLock::tryToTake() const {
    if (::flock(m_file.get(), LOCK_EX | LOCK_NB) == 0) {
        return true;
    }
    if (errno != EWOULDBLOCK) {
        throwLastError(shownPath(lockPath));
    }
    return false;
}

} // namespace kyb::macroot
