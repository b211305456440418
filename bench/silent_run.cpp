// Whole silent runs against the bare installer on the same package, in turn, on one machine in one go:
//
//   silent_run [RUNS]
//
// prints, for an empty package and for one of 200 MB, the wall time of both and the difference; how often a run had to
// wait for the progress file; and the time from the start to the banner in the log against a bare Qt program's first
// line.

#include "Sample.h"

#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QTemporaryDir>
#include <cstdio>

namespace {

constexpr int kDefaultRuns = 20;
constexpr double kWaitForFileMilliseconds = 2000;
constexpr double kNanosecondsPerMillisecond = 1e6;

/// A root folder, an installer folder and a package of their own.
class Setting {
public:
    explicit Setting(const QStringList &packageOptions) {
        runTool(QStringLiteral("make-macroot"), {root()});
        QDir().mkpath(folder() + QStringLiteral("/OSX"));
        QProcess::execute(QStringLiteral("cp"), {QStringLiteral("-r"), QStringLiteral(KYB_BUNDLE), folder()});
        runTool(QStringLiteral("make-package"), QStringList{package()} + packageOptions);
        // NB: the permission command must never ask for a password.
        QDir().mkpath(scratch_.path() + QStringLiteral("/bin"));
        QFile sudo(scratch_.path() + QStringLiteral("/bin/sudo"));
        if (sudo.open(QIODevice::WriteOnly)) {
            sudo.write("#!/bin/sh\nexec \"$@\"\n");
        }
        sudo.setPermissions(QFile::Permissions(0x7755));
        environment_ = QProcessEnvironment::systemEnvironment();
        environment_.insert(QStringLiteral("KYB_SYSTEM_ROOT"), root());
        environment_.insert(QStringLiteral("PATH"),
                            scratch_.path() + QStringLiteral("/bin:") + environment_.value(QStringLiteral("PATH")));
    }

    QString root() const { return scratch_.path() + QStringLiteral("/MacintoshHD"); }
    QString program() const {
        return folder() + QStringLiteral("/Brelund Quorlix Installer.app/Contents/MacOS/BrelundQuorlixInstaller");
    }
    QString log() const { return root() + QStringLiteral("/var/tmp/kyb/BrelundQuorlix.log"); }

    /// Takes what is installed away, so that each run is a first installation.
    void removeDriver() const {
        QFile::remove(root() + QStringLiteral("/var/db/receipts/com.Brelund.QuorlixInstaller.plist"));
        QDir(root() + QStringLiteral("/Library/Printers/BrelundQuorlix")).removeRecursively();
        QFile::remove(root() + QStringLiteral("/Library/Preferences/BrelundQuorlixAdmin.plist"));
    }

    double installerMilliseconds() const {
        return milliseconds(root() + QStringLiteral("/usr/sbin/installer"),
                            {QStringLiteral("-pkg"), package(), QStringLiteral("-target"), QStringLiteral("/"),
                             QStringLiteral("-verboseR")});
    }

    double silentRunMilliseconds() const {
        return milliseconds(program(), {QStringLiteral("-s"), QStringLiteral("bench"), QStringLiteral("PUBLIC")});
    }

    double milliseconds(const QString &command, const QStringList &arguments) const {
        QProcess process;
        process.setProcessEnvironment(environment_);
        process.setStandardOutputFile(QProcess::nullDevice());
        process.setStandardErrorFile(QProcess::nullDevice());
        QElapsedTimer timer;
        timer.start();
        process.start(command, arguments);
        process.waitForFinished(-1);
        if (process.exitCode() != 0) {
            std::fprintf(stderr, "%s failed with status %d\n", qPrintable(command), process.exitCode());
            std::exit(1);
        }
        return static_cast<double>(timer.nsecsElapsed()) / kNanosecondsPerMillisecond;
    }

    /// The time from the start of a program until a file has something in it.
    double millisecondsToFirstLine(const QString &command, const QStringList &arguments, const QString &file) const {
        QFile::remove(file);
        QProcess process;
        process.setProcessEnvironment(environment_);
        process.setStandardOutputFile(QProcess::nullDevice());
        process.setStandardErrorFile(QProcess::nullDevice());
        QElapsedTimer timer;
        timer.start();
        process.start(command, arguments);
        const QByteArray path = QFile::encodeName(file);
        while (QFileInfo(file).size() == 0) {
        }
        const auto nanoseconds = timer.nsecsElapsed();
        process.waitForFinished(-1);
        return static_cast<double>(nanoseconds) / kNanosecondsPerMillisecond;
    }

private:
    QString folder() const { return scratch_.path() + QStringLiteral("/Installer"); }
    QString package() const { return folder() + QStringLiteral("/OSX/Brelund Quorlix Driver.pkg"); }

    static void runTool(const QString &name, const QStringList &arguments) {
        QProcess::execute(QStringLiteral(KYB_TOOLS "/") + name,
                          QStringList{QStringLiteral("--programs"), QStringLiteral(KYB_PROGRAMS)} + arguments);
    }

    QTemporaryDir scratch_;
    QProcessEnvironment environment_;
};

/// \return how many of the runs waited for the progress file.
int compare(const char *what, const Setting &setting, int runs) {
    Sample installer;
    Sample silent;
    Sample overhead;
    Sample ratio;
    int waits = 0;
    setting.silentRunMilliseconds(); // registers the helper, and warms the caches
    for (int run = 0; run < runs; ++run) {
        setting.removeDriver();
        const double bare = setting.installerMilliseconds();
        setting.removeDriver();
        const double whole = setting.silentRunMilliseconds();
        installer.add(bare);
        silent.add(whole);
        overhead.add(whole - bare);
        ratio.add(whole / bare);
        waits += whole - bare > kWaitForFileMilliseconds ? 1 : 0;
    }
    std::printf("%s\n", what);
    std::printf("  bare installer   %s\n", qPrintable(installer.text("ms")));
    std::printf("  silent run       %s\n", qPrintable(silent.text("ms")));
    std::printf("  overhead         %s\n", qPrintable(overhead.text("ms")));
    std::printf("  ratio            %s\n", qPrintable(ratio.text("")));
    return waits;
}

void compareStarts(const Setting &setting, int runs) {
    Sample bare;
    Sample ours;
    Sample ratio;
    const QString file = setting.root() + QStringLiteral("/first-line");
    for (int run = 0; run < runs; ++run) {
        const double least = setting.millisecondsToFirstLine(QStringLiteral(KYB_BARE_CORE_APPLICATION), {file}, file);
        const double whole = setting.millisecondsToFirstLine(
            setting.program(), {QStringLiteral("-s"), QStringLiteral("bench")}, setting.log());
        bare.add(least);
        ours.add(whole);
        ratio.add(whole / least);
    }
    std::printf("start to the first line in a file\n");
    std::printf("  bare program     %s\n", qPrintable(bare.text("ms")));
    std::printf("  ours, the banner %s\n", qPrintable(ours.text("ms")));
    std::printf("  ratio            %s\n", qPrintable(ratio.text("")));
}

} // namespace

int main(int argc, char **argv) {
    const QCoreApplication application(argc, argv);
    const int runs = argc > 1 ? QByteArray(argv[1]).toInt() : kDefaultRuns;
    const Setting empty({QStringLiteral("--version"), QStringLiteral("1.0")});
    const Setting large(
        {QStringLiteral("--version"), QStringLiteral("1.0"), QStringLiteral("--size"), QStringLiteral("200000000")});
    int waits = compare("an empty package", empty, runs);
    waits += compare("a package of 200 MB", large, runs);
    std::printf("the 2-second wait for the progress file was met in %d of %d runs\n", waits, 2 * runs);
    compareStarts(empty, runs);
    return 0;
}
