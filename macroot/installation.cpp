#include "installation.h"

#include "folder_walk.h"
#include "install_error.h"
#include "package_script.h"
#include "payload_path.h"

#include <algorithm>
#include <chrono>
#include <fcntl.h>
#include <sys/statvfs.h>
#include <utility>

namespace kyb::macroot {
namespace {

using namespace std::chrono_literals;

constexpr auto kLockRetryInterval = 100ms;

std::string scriptsFolder(const FlatPackage &package, const Component &component) {
    return "scripts" + std::to_string(&component - package.components().data());
}

bool isApplication(const PayloadItem &item) {
    return item.kind == PayloadItem::Kind::Folder && item.path.ends_with(".app");
}

bool isOfItsKind(const struct stat &found, const PayloadItem &item) {
    switch (item.kind) {
    case PayloadItem::Kind::Folder:
        return S_ISDIR(found.st_mode);
    case PayloadItem::Kind::SymbolicLink:
        return S_ISLNK(found.st_mode);
    case PayloadItem::Kind::HardLink:
    case PayloadItem::Kind::File:
        return S_ISREG(found.st_mode);
    }
    return false;
}

bool isAsWritten(const struct stat &found, const PayloadItem &item) {
    const bool isFile = item.kind == PayloadItem::Kind::File;
    return isOfItsKind(found, item) &&
           (!isFile || (found.st_size == item.sizeBytes && (found.st_mode & 07777) == item.mode));
}

} // namespace

Installation::Installation(const FlatPackage &package, std::string rootPath, const InstallerOutput &output,
                           const SignalWatch &signals)
    : package_(package), rootPath_(std::move(rootPath)), root_(openFolder(rootPath_ + "/")), output_(output),
      signals_(signals), log_(root_.get()) {}

void Installation::run() {
    try {
        runSteps();
    } catch (const InstallError &error) {
        log_.write(std::string("The installation failed: ") + error.what());
        throw;
    }
}

void Installation::runSteps() {
    // 1. Nothing of a package is run or written before all of it was read once.
    output_.phase(Phase::PreparingInstallation);
    log_.write("Installing " + package_.title() + " from " + package_.path());
    output_.phase(Phase::PreparingDisk);
    prepareDisk();
    output_.phase(Phase::PreparingPackage);
    readThrough();
    checkFreeSpace();
    // 2. From here on nobody else works below this root.
    output_.phase(Phase::WaitingForOthers);
    const InstallLock lock(root_.get());
    waitForOthers(lock);
    output_.phase(Phase::Configuring);
    recoverEarlierRun();
    findKind();
    Stage::checkPlaces(root_.get(), allItems());
    Stage stage(root_.get());
    unpackScripts(stage);
    // 3. The work itself.
    runScripts(&PackageInfo::preinstall, "preinstall");
    writeFiles(stage);
    validate(stage.files(), isAsWritten);
    moveIntoPlace(stage);
    output_.phase(Phase::Validating);
    validate(root_.get(), isOfItsKind); // NB: no more: others may change a file as soon as it is in its place
    stage.giveFolderModes();
    runScripts(&PackageInfo::postinstall, "postinstall");
    writeReceipts(stage);
    // 4. Nothing is rolled back any more.
    finish(stage);
}

void Installation::prepareDisk() const {
    for (const char *const folder : {"var/db/receipts", "var/run"}) {
        makeFolderBelow(root_.get(), folder);
    }
}

void Installation::readThrough() {
    PayloadList scripts;
    const auto onBytes = [this](std::size_t) { signals_.check(); };
    package_.eachArchive("Scripts", [&](const Component &component, archive *reader) {
        signals_.check();
        scanPayload(reader, scriptsFolder(package_, component), scripts, onBytes);
    });
    package_.eachArchive("Payload", [&](const Component &component, archive *reader) {
        signals_.check();
        scanPayload(reader, component.info.installLocation, payload_, onBytes);
    });
}

void Installation::checkFreeSpace() const {
    struct statvfs volume = {};
    if (fstatvfs(root_.get(), &volume) != 0) {
        throwLastError("The disk cannot be asked for its free space");
    }
    const double freeBytes = static_cast<double>(volume.f_bavail) * static_cast<double>(volume.f_frsize);
    if (freeBytes < static_cast<double>(payload_.totalBytes())) {
        throw InstallError("There is not enough free space on the disk.");
    }
}

void Installation::waitForOthers(const InstallLock &lock) const {
    while (!lock.tryToTake()) {
        signals_.wait(kLockRetryInterval);
        signals_.check();
    }
}

void Installation::recoverEarlierRun() const {
    if (Stage::recover(root_.get())) {
        log_.write("Rolled back what an interrupted installation had left behind");
    }
}

void Installation::findKind() {
    const auto hasReceipt = [this](const Component &component) {
        return lookBelow(root_.get(), receiptPath(component.info.identifier)).has_value();
    };
    kind_ = std::ranges::any_of(package_.components(), hasReceipt) ? InstallKind::Upgrade : InstallKind::Install;
}

void Installation::unpackScripts(const Stage &stage) const {
    const UniqueFd temporary = stage.makeFolder("tmp");
    package_.eachArchive("Scripts", [&](const Component &component, archive *reader) {
        signals_.check();
        const UniqueFd folder = stage.makeFolder(scriptsFolder(package_, component));
        unpackPayload(reader, "", folder.get(), [this](std::size_t) { signals_.check(); });
    });
}

void Installation::runScripts(std::string PackageInfo::*file, const char *name) const {
    const auto hasScript = [file](const Component &component) { return !(component.info.*file).empty(); };
    if (std::ranges::none_of(package_.components(), hasScript)) {
        return;
    }
    output_.phase(Phase::RunningScripts);
    output_.status();
    for (const Component &component : package_.components()) {
        if (!hasScript(component)) {
            continue;
        }
        PackageScript script;
        script.name = name;
        script.workingFolder = stagePath(scriptsFolder(package_, component));
        script.path = script.workingFolder + shownPath(component.info.*file);
        script.arguments = {package_.path(), targetPath(component), rootPath_ + "/", rootPath_ + "/"};
        script.environment = scriptEnvironment(component, name);
        log_.write(std::string("Running the ") + name + " script of " + component.info.identifier);
        runPackageScript(script, signals_,
                         [&](std::string_view line) { log_.write(std::string(name) + ": " + std::string(line)); });
    }
}

std::vector<std::string> Installation::scriptEnvironment(const Component &component, const char *name) const {
    const std::string temporary = stagePath("tmp");
    return {
        "PATH=/usr/bin:/bin:/usr/sbin:/sbin",
        "SHELL=/bin/sh",
        "COMMAND_LINE_INSTALL=1",
        "DSTROOT=" + targetPath(component),
        "DSTVOLUME=" + rootPath_ + "/",
        "INSTALLER_TEMP=" + temporary,
        "TMPDIR=" + temporary,
        "INSTALL_PKG_SESSION_ID=" + component.info.identifier,
        "PACKAGE_PATH=" + package_.path(),
        std::string("SCRIPT_NAME=") + name,
    };
}

std::string Installation::stagePath(std::string_view name) const {
    return rootPath_ + shownPath(joinedPath(Stage::kFolder, name));
}

std::string Installation::targetPath(const Component &component) const {
    return rootPath_ + shownPath(component.info.installLocation);
}

void Installation::writeFiles(const Stage &stage) const {
    output_.phase(Phase::WritingFiles);
    output_.status();
    PercentMeter meter(payload_.totalBytes());
    const auto onBytes = [&](std::size_t bytes) {
        output_.percent(meter.add(bytes));
        signals_.check();
    };
    package_.eachArchive("Payload", [&](const Component &component, archive *reader) {
        signals_.check();
        unpackPayload(reader, component.info.installLocation, stage.files(), onBytes);
    });
    output_.percent(meter.finish());
}

void Installation::moveIntoPlace(Stage &stage) const {
    output_.phase(Phase::MovingIntoPlace);
    stage.plan(allItems());
    for (const auto &[path, item] : payload_.items()) {
        signals_.check();
        stage.place(item);
    }
    log_.write("Moved " + std::to_string(payload_.items().size()) + " items into place");
}

void Installation::validate(int base, IsRight isRight) const {
    for (const auto &[path, item] : payload_.items()) {
        const auto found = lookBelow(base, path);
        if (!found || !isRight(*found, item)) {
            throw InstallError(shownPath(path) + " is not as the package holds it.");
        }
    }
}

void Installation::writeReceipts(Stage &stage) const {
    output_.phase(Phase::WritingReceipts);
    for (const Component &component : package_.components()) {
        const PayloadItem item = receiptItem(component);
        writeFileBelow(stage.files(), item.path, receiptText(receiptOf(component)), item.mode);
        stage.place(item);
        log_.write("Wrote the receipt of " + component.info.identifier + " " + component.info.version);
    }
}

PayloadItem Installation::receiptItem(const Component &component) const {
    PayloadItem item;
    item.kind = PayloadItem::Kind::File;
    item.path = receiptPath(component.info.identifier);
    item.mode = 0644;
    return item;
}

// The receipts are part of the plan, so that they go with the files when those are rolled back.
PayloadList::Items Installation::allItems() const {
    PayloadList all = payload_;
    for (const Component &component : package_.components()) {
        all.add(receiptItem(component), "");
    }
    return all.items();
}

Receipt Installation::receiptOf(const Component &component) const {
    Receipt receipt;
    receipt.identifier = component.info.identifier;
    receipt.version = component.info.version;
    receipt.prefixPath = component.info.installLocation.empty() ? "/" : component.info.installLocation;
    receipt.packageFileName = component.folder.empty() ? std::string(leafName(package_.path())) : component.folder;
    receipt.installedAt = std::time(nullptr);
    return receipt;
}

// The desktop looks at a bundle again when its date has changed.
void Installation::registerApplications() const {
    if (std::ranges::none_of(payload_.items(), [](const auto &entry) { return isApplication(entry.second); })) {
        return;
    }
    output_.phase(Phase::RegisteringApplications);
    for (const auto &[path, item] : payload_.items()) {
        if (const UniqueFd bundle = isApplication(item) ? openFolderBelow(root_.get(), path) : UniqueFd(); bundle) {
            futimens(bundle.get(), nullptr);
        }
    }
}

void Installation::finish(Stage &stage) const {
    signals_.check();
    stage.commit();
    try {
        tidyUp(stage);
    } catch (const std::exception &error) { // the software is installed; the next run takes the rest away
        log_.write(std::string("Something is left behind: ") + error.what());
    }
    output_.phase(Phase::Installed);
    log_.write("The software was successfully installed");
}

void Installation::tidyUp(Stage &stage) const {
    output_.phase(Phase::Finishing);
    output_.status();
    registerApplications();
    output_.phase(Phase::CleaningUp);
    stage.remove();
    output_.phase(Phase::Optimising);
    syncfs(root_.get());
}

} // namespace kyb::macroot
