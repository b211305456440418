// WriteLog against a bare loop that opens, appends and closes. The system log goes nowhere.

#include "controller/KYViewController.h"
#include "platform/system_root.h"

#include <QCoreApplication>
#include <QDir>
#include <QTemporaryDir>
#include <benchmark/benchmark.h>
#include <cstdlib>
#include <fcntl.h>
#include <unistd.h>

namespace {

const QString kMessage = QStringLiteral("Installing /Volumes/Installer/OSX/Brelund Quorlix Driver.pkg");

void bareAppend(benchmark::State &state) {
    const QByteArray path = kyb::systemPath(QStringLiteral("/bare.log")).toUtf8();
    const QByteArray line = "11/21/26, 8:57 AM : " + kMessage.toUtf8() + "\n";
    for (auto _ : state) {
        const int file = open(path.constData(), O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC, 0666);
        benchmark::DoNotOptimize(write(file, line.constData(), static_cast<size_t>(line.size())));
        close(file);
    }
}
BENCHMARK(bareAppend);

void writeLog(benchmark::State &state) {
    KYViewController controller;
    controller.initLogFile();
    for (auto _ : state) {
        controller.WriteLog(kMessage);
    }
}
BENCHMARK(writeLog);

} // namespace

int main(int argc, char **argv) {
    const QTemporaryDir root;
    QDir().mkpath(root.path() + QStringLiteral("/var/tmp"));
    setenv("KYB_SYSTEM_ROOT", root.path().toUtf8().constData(), 1);
    const QCoreApplication application(argc, argv);
    const int nowhere = open("/dev/null", O_WRONLY);
    dup2(nowhere, STDERR_FILENO);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
