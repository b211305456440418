#include "installation.h"

#include "folder_walk.h"
#include "install_error.h"
#include "package_script.h"
#include "payload_path.h"

#include <fcntl.h>
#include <sys/statvfs.h>

#include <algorithm>
#include <chrono>
#include <utility>

namespace kyb::macroot {

namespace {

using namespace std::chrono_literals;

constexpr auto lockRetryInterval = 100ms;

std::string scriptsFolder(const FlatPackage &package, const Component &component) {
    return "scripts" + std::to_string(&component - package.components().data());
}

bool isApplication(const PayloadItem &item) {
    return item.kind == PayloadItem::Kind::Folder && item.path.ends_with(".app");
}

bool isAsPlanned(const struct stat &found, const PayloadItem &item) {
    switch (item.kind) {
    case PayloadItem::Kind::Folder:
        return S_ISDIR(found.st_mode);
    case PayloadItem::Kind::SymbolicLink:
        return S_ISLNK(found.st_mode);
    case PayloadItem::Kind::HardLink:
        return S_ISREG(found.st_mode);
    case PayloadItem::Kind::File:
        return S_ISREG(found.st_mode) && found.st_size == item.sizeBytes && (found.st_mode & 07777) == item.mode;
    }
    return false;
}

} // namespace

Installation::Installation(const FlatPackage &package, std::string rootPath, const InstallerOutput &output,
                           const SignalWatch &signals)
    : m_package(package), m_rootPath(std::move(rootPath)), m_root(openFolder(m_rootPath + "/")), m_output(output),
      m_signals(signals), m_log(m_root.get()) {}

void Installation::run() {
    try {
        runSteps();
    } catch (const InstallError &error) {
        m_log.write(std::string("The installation failed: ") + error.what());
        throw;
    }
}

void Installation::runSteps() {
    // 1. Nothing of a package is run or written before all of it was read once.
    m_output.phase(Phase::PreparingInstallation);
    m_log.write("Installing " + m_package.title() + " from " + m_package.path());
    m_output.phase(Phase::PreparingDisk);
    prepareDisk();
    m_output.phase(Phase::PreparingPackage);
    readThrough();
    checkFreeSpace();
    // 2. From here on nobody else works below this root.
    m_output.phase(Phase::WaitingForOthers);
    const InstallLock lock(m_root.get());
    waitForOthers(lock);
    m_output.phase(Phase::Configuring);
    recoverEarlierRun();
    findKind();
    Stage::checkPlaces(m_root.get(), allItems());
    Stage stage(m_root.get());
    unpackScripts(stage);
    // 3. The work itself.
    runScripts(&PackageInfo::preinstall, "preinstall");
    writeFiles(stage);
    moveIntoPlace(stage);
    m_output.phase(Phase::Validating);
    validate();
    runScripts(&PackageInfo::postinstall, "postinstall");
    writeReceipts(stage);
    // 4. Nothing is taken back any more.
    finish(stage);
}

void Installation::prepareDisk() const {
    for (const char *const folder : {"var/db/receipts", "var/run"}) {
        makeFolderBelow(m_root.get(), folder);
    }
}

void Installation::readThrough() {
    PayloadList scripts;
    const auto onBytes = [this](std::size_t) { m_signals.check(); };
    for (const Component &component : m_package.components()) {
        if (component.hasScripts) {
            m_package.readArchive(component.member("Scripts"), [&](archive *reader) {
                scanPayload(reader, scriptsFolder(m_package, component), scripts, onBytes);
            });
        }
        if (component.hasPayload) {
            m_package.readArchive(component.member("Payload"), [&](archive *reader) {
                scanPayload(reader, component.info.installLocation, m_payload, onBytes);
            });
        }
    }
}

void Installation::checkFreeSpace() const {
    struct statvfs volume = {};
    if (::fstatvfs(m_root.get(), &volume) != 0) {
        throwLastError("The disk cannot be asked for its free space");
    }
    const double freeBytes = static_cast<double>(volume.f_bavail) * static_cast<double>(volume.f_frsize);
    if (freeBytes < static_cast<double>(m_payload.totalBytes())) {
        throw InstallError("There is not enough free space on the disk.");
    }
}

void Installation::waitForOthers(const InstallLock &lock) const {
    while (!lock.tryToTake()) {
        m_signals.wait(lockRetryInterval);
        m_signals.check();
    }
}

void Installation::recoverEarlierRun() const {
    if (Stage::recover(m_root.get())) {
        m_log.write("Took back what an interrupted installation had left behind");
    }
}

void Installation::findKind() {
    const auto hasReceipt = [this](const Component &component) {
        return lookBelow(m_root.get(), receiptPath(component.info.identifier)).has_value();
    };
    m_kind = std::ranges::any_of(m_package.components(), hasReceipt) ? InstallKind::Upgrade : InstallKind::Install;
}

void Installation::unpackScripts(const Stage &stage) const {
    const UniqueFd temporary = stage.makeFolder("tmp");
    for (const Component &component : m_package.components()) {
        const UniqueFd folder = stage.makeFolder(scriptsFolder(m_package, component));
        if (component.hasScripts) {
            m_package.readArchive(component.member("Scripts"), [&](archive *reader) {
                unpackPayload(reader, "", folder.get(), [this](std::size_t) { m_signals.check(); });
            });
        }
    }
}

void Installation::runScripts(std::string PackageInfo::*file, const char *name) const {
    const auto hasScript = [file](const Component &component) { return !(component.info.*file).empty(); };
    if (std::ranges::none_of(m_package.components(), hasScript)) {
        return;
    }
    m_output.phase(Phase::RunningScripts);
    m_output.status();
    for (const Component &component : m_package.components()) {
        if (!hasScript(component)) {
            continue;
        }
        PackageScript script;
        script.name = name;
        script.workingFolder = stagePath(scriptsFolder(m_package, component));
        script.path = script.workingFolder + shownPath(component.info.*file);
        script.arguments = {m_package.path(), targetPath(component), m_rootPath + "/", m_rootPath + "/"};
        script.environment = scriptEnvironment(component, name);
        m_log.write(std::string("Running the ") + name + " script of " + component.info.identifier);
        runPackageScript(script, m_signals,
                         [&](std::string_view line) { m_log.write(std::string(name) + ": " + std::string(line)); });
    }
}

std::vector<std::string> Installation::scriptEnvironment(const Component &component, const char *name) const {
    const std::string temporary = stagePath("tmp");
    return {
        "PATH=/usr/bin:/bin:/usr/sbin:/sbin",
        "SHELL=/bin/sh",
        "COMMAND_LINE_INSTALL=1",
        "DSTROOT=" + targetPath(component),
        "DSTVOLUME=" + m_rootPath + "/",
        "INSTALLER_TEMP=" + temporary,
        "TMPDIR=" + temporary,
        "INSTALL_PKG_SESSION_ID=" + component.info.identifier,
        "PACKAGE_PATH=" + m_package.path(),
        std::string("SCRIPT_NAME=") + name,
    };
}

std::string Installation::stagePath(std::string_view name) const {
    return m_rootPath + shownPath(joinedPath(Stage::folder, name));
}

std::string Installation::targetPath(const Component &component) const {
    return m_rootPath + shownPath(component.info.installLocation);
}

void Installation::writeFiles(const Stage &stage) const {
    m_output.phase(Phase::WritingFiles);
    m_output.status();
    PercentMeter meter(m_payload.totalBytes());
    const auto onBytes = [&](std::size_t bytes) {
        m_output.percent(meter.add(bytes));
        m_signals.check();
    };
    for (const Component &component : m_package.components()) {
        if (component.hasPayload) {
            m_package.readArchive(component.member("Payload"), [&](archive *reader) {
                unpackPayload(reader, component.info.installLocation, stage.files(), onBytes);
            });
        }
    }
    m_output.percent(meter.finish());
}

void Installation::moveIntoPlace(Stage &stage) const {
    m_output.phase(Phase::MovingIntoPlace);
    stage.plan(allItems());
    for (const auto &[path, item] : m_payload.items()) {
        m_signals.check();
        stage.place(item);
    }
    m_log.write("Moved " + std::to_string(m_payload.items().size()) + " items into place");
}

void Installation::validate() const {
    for (const auto &[path, item] : m_payload.items()) {
        const auto found = lookBelow(m_root.get(), path);
        if (!found || !isAsPlanned(*found, item)) {
            throw InstallError(shownPath(path) + " is not as the package holds it.");
        }
    }
}

void Installation::writeReceipts(Stage &stage) const {
    m_output.phase(Phase::WritingReceipts);
    for (const Component &component : m_package.components()) {
        const PayloadItem item = receiptItem(component);
        writeFileBelow(stage.files(), item.path, receiptText(receiptOf(component)), item.mode);
        stage.place(item);
        m_log.write("Wrote the receipt of " + component.info.identifier + " " + component.info.version);
    }
}

PayloadItem Installation::receiptItem(const Component &component) const {
    PayloadItem item;
    item.kind = PayloadItem::Kind::File;
    item.path = receiptPath(component.info.identifier);
    item.mode = 0644;
    return item;
}

// The receipts are part of the plan, so that they go with the files when those are taken back.
PayloadList::Items Installation::allItems() const {
    PayloadList all = m_payload;
    for (const Component &component : m_package.components()) {
        all.add(receiptItem(component), "");
    }
    return all.items();
}

Receipt Installation::receiptOf(const Component &component) const {
    Receipt receipt;
    receipt.identifier = component.info.identifier;
    receipt.version = component.info.version;
    receipt.prefixPath = component.info.installLocation.empty() ? "/" : component.info.installLocation;
    receipt.packageFileName = component.folder.empty() ? std::string(leafName(m_package.path())) : component.folder;
    receipt.installedAt = std::time(nullptr);
    return receipt;
}

// The desktop looks at a bundle again when its date has changed.
void Installation::registerApplications() const {
    if (std::ranges::none_of(m_payload.items(), [](const auto &entry) { return isApplication(entry.second); })) {
        return;
    }
    m_output.phase(Phase::RegisteringApplications);
    for (const auto &[path, item] : m_payload.items()) {
        if (const UniqueFd bundle = isApplication(item) ? openFolderBelow(m_root.get(), path) : UniqueFd(); bundle) {
            ::futimens(bundle.get(), nullptr);
        }
    }
}

void Installation::finish(Stage &stage) const {
    m_signals.check();
    stage.commit();
    m_output.phase(Phase::Finishing);
    m_output.status();
    registerApplications();
    m_output.phase(Phase::CleaningUp);
    stage.remove();
    m_output.phase(Phase::Optimising);
    ::syncfs(m_root.get());
    m_output.phase(Phase::Installed);
    m_log.write("The software was successfully installed");
}

} // namespace kyb::macroot
