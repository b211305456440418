#pragma once

#include "posix/Mutex.h"

#include <QString>

/// The record of the one driver package. The two strings may be read on one thread while another replaces them; the two
/// flags are written before whoever reads them is started.
class KYRavexApp {
public:
    /// The package's path relative to the folder that holds the bundle, with its leading slash.
    QString pkgName() const { return pkgName_.get(); }
    void setPkgName(const QString &name) { pkgName_.set(name); }

    /// The installed version; empty when none was found.
    QString installedVersion() const { return installedVersion_.get(); }
    void setInstalledVersion(const QString &version) { installedVersion_.set(version); }

    bool isInstalled = false;          ///< a receipt with a version was found
    bool isSelectedForInstall = false; ///< the package file was found, so it is to be installed

private:
    class AtomicString {
    public:
        QString get() const {
            const kyb::MutexLock lock(mutex_);
            return value_;
        }
        void set(const QString &value) {
            const kyb::MutexLock lock(mutex_);
            value_ = value;
        }

    private:
        mutable kyb::Mutex mutex_;
        QString value_ GUARDED_BY(mutex_);
    };

    AtomicString pkgName_;
    AtomicString installedVersion_;
};
