// The wizard's start and rest against a bare window with as many widgets, in turn: wizard_bench [RUNS]. Needs a
// display:
//
//   tools/with-display build/bench/bench/wizard_bench

#include "Sample.h"

#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QProcess>
#include <QTemporaryDir>
#include <cstdio>

namespace {

struct Start {
    double paintedMilliseconds = 0;
    int widgets = 0;
    double residentMebibytes = 0;
};

Start measure(const QString &program, const QStringList &arguments, const QProcessEnvironment &environment) {
    Start result;
    QProcess process;
    process.setProcessEnvironment(environment);
    process.setStandardErrorFile(QProcess::nullDevice());
    QElapsedTimer timer;
    timer.start();
    process.start(program, arguments);
    while (process.waitForReadyRead(30'000)) {
        for (const QByteArray &line : process.readAllStandardOutput().split('\n')) {
            if (line.startsWith("painted ")) {
                result.paintedMilliseconds = static_cast<double>(timer.nsecsElapsed()) / 1e6;
                result.widgets = line.mid(8).toInt();
            } else if (line.startsWith("resident ")) {
                result.residentMebibytes = line.mid(9).toDouble() / 1024;
            }
        }
    }
    process.waitForFinished();
    return result;
}

} // namespace

int main(int argc, char **argv) {
    const QCoreApplication application(argc, argv);
    const int runs = argc > 1 ? QByteArray(argv[1]).toInt() : 20;
    const QTemporaryDir scratch;
    const QString root = scratch.path() + QStringLiteral("/MacintoshHD");
    QProcess::execute(QStringLiteral(KYB_TOOLS "/make-macroot"),
                      {QStringLiteral("--programs"), QStringLiteral(KYB_PROGRAMS), root});
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("KYB_SYSTEM_ROOT"), root);

    Sample bareStart;
    Sample ourStart;
    Sample startRatio;
    Sample bareMemory;
    Sample ourMemory;
    Sample memoryRatio;
    int widgets = measure(QStringLiteral(KYB_WIZARD_START), {}, environment).widgets;
    for (int run = 0; run < runs; ++run) {
        const Start bare = measure(QStringLiteral(KYB_BARE_WINDOW), {QString::number(widgets)}, environment);
        const Start ours = measure(QStringLiteral(KYB_WIZARD_START), {}, environment);
        bareStart.add(bare.paintedMilliseconds);
        ourStart.add(ours.paintedMilliseconds);
        startRatio.add(ours.paintedMilliseconds / bare.paintedMilliseconds);
        bareMemory.add(bare.residentMebibytes);
        ourMemory.add(ours.residentMebibytes);
        memoryRatio.add(ours.residentMebibytes / bare.residentMebibytes);
    }
    std::printf("%d widgets\nstart to the first painted window\n", widgets);
    std::printf("  bare window      %s\n", qPrintable(bareStart.text("ms")));
    std::printf("  wizard           %s\n", qPrintable(ourStart.text("ms")));
    std::printf("  ratio            %s\n", qPrintable(startRatio.text("")));
    std::printf("resident memory at rest\n");
    std::printf("  bare window      %s\n", qPrintable(bareMemory.text("MiB")));
    std::printf("  wizard           %s\n", qPrintable(ourMemory.text("MiB")));
    std::printf("  ratio            %s\n", qPrintable(memoryRatio.text("")));
    return 0;
}
