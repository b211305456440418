#pragma once

#include "flat_package.h"
#include "install_log.h"
#include "installer_output.h"
#include "payload.h"
#include "receipt.h"
#include "signal_watch.h"
#include "stage.h"

#include <string>

namespace kyb::macroot {

/// One installation of one package below one root folder. Either all of it is in place afterwards, or nothing of it:
/// the files wait in the stage until every one is written, and what was moved into place is rolled back by a failure.
/// What the package's own scripts did stays done.
class Installation {
public:
    /// \p rootPath is absolute and without a slash at its end; "/" is "". All that is given must outlive the object.
    Installation(const FlatPackage &package, std::string rootPath, const InstallerOutput &output,
                 const SignalWatch &signals);

    /// Throws InstallError; the root is then as it was. Runs once.
    void run();

    /// Whether an earlier version was there; known once run() has its turn.
    InstallKind kind() const { return kind_; }

private:
    void runSteps();
    void prepareDisk() const;
    void readThrough();
    void checkFreeSpace() const;
    void waitForOthers(const InstallLock &lock) const;
    void recoverEarlierRun() const;
    void findKind();
    void unpackScripts(const Stage &stage) const;
    void runScripts(std::string PackageInfo::*file, const char *name) const;
    void writeFiles(const Stage &stage) const;
    void moveIntoPlace(Stage &stage) const;
    using IsRight = bool (*)(const struct stat &found, const PayloadItem &item);
    void validate(int base, IsRight isRight) const;
    void writeReceipts(Stage &stage) const;
    void registerApplications() const;
    void finish(Stage &stage) const;
    void tidyUp(Stage &stage) const;

    PayloadItem receiptItem(const Component &component) const;
    PayloadList::Items allItems() const;
    Receipt receiptOf(const Component &component) const;
    std::vector<std::string> scriptEnvironment(const Component &component, const char *name) const;
    std::string stagePath(std::string_view name) const;
    std::string targetPath(const Component &component) const;

    const FlatPackage &package_;
    std::string rootPath_;
    UniqueFd root_;
    const InstallerOutput &output_;
    const SignalWatch &signals_;
    InstallLog log_;
    InstallKind kind_ = InstallKind::Install;
    PayloadList payload_;
};

} // namespace kyb::macroot
