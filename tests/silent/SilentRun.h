#pragma once

#include <QProcess>
#include <QString>
#include <QStringList>
#include <QTemporaryDir>
#include <functional>
#include <gtest/gtest.h>
#include <memory>

/// Whole runs of the real program: each test has a root folder of its own, made by tools/make-macroot, and an installer
/// folder of its own with the bundle's programs and the package. Helpers that are left running are ended.
class SilentRun : public ::testing::Test {
protected:
    struct Outcome {
        int status;      ///< the exit status; minus the signal's number when one ended the process
        QString printed; ///< standard output
        QString errors;  ///< standard error: the system log
    };

    SilentRun();
    ~SilentRun() override;

    void SetUp() override;

    /// The folder that holds the bundle. Before anything is put into it.
    void setInstallerFolder(const QString &name) { installerFolder_ = scratch_.path() + u'/' + name; }
    QString installerFolder() const { return installerFolder_; }
    QString program() const;

    QString root() const { return scratch_.path() + QStringLiteral("/MacintoshHD"); }
    QString path(const QString &fixedPath) const { return root() + fixedPath; }

    /// Puts the bundle's programs, a version list and a package made with \p options into the installer folder.
    void putInstaller(const QStringList &options = {QStringLiteral("--version"), QStringLiteral("1.0")});
    void putPackage(const QStringList &options);

    /// Puts a shell script in place of a system program.
    void putProgram(const QString &fixedPath, const QByteArray &script) const;
    void putHelper(const QString &program) const;

    /// Starts the program and does not wait.
    std::unique_ptr<QProcess> start(const QStringList &arguments = {QStringLiteral("-s"), QStringLiteral("bob"),
                                                                    QStringLiteral("PUBLIC")});

    /// Waits for the end of a program. One that does not end fails the test and is killed.
    Outcome finish(QProcess &process) const;

    Outcome run(const QStringList &arguments = {QStringLiteral("-s"), QStringLiteral("bob"), QStringLiteral("PUBLIC")});

    /// Turns until \p condition holds; fails the test after a while.
    void waitUntil(const std::function<bool()> &condition) const;

    QByteArray read(const QString &fixedPath) const;
    bool exists(const QString &fixedPath) const;
    void write(const QString &fixedPath, const QByteArray &content) const;

    /// The wrapper log's entries without their stamps.
    QStringList logEntries() const;
    QString installedVersion() const;
    QString preference() const;

    /// The process ids of this root's helpers.
    QList<int> helpers() const;

    QProcessEnvironment environment;
    std::function<void()> inChild; ///< runs in the child process before the program starts

private:
    QTemporaryDir scratch_;
    QString installerFolder_;
};
