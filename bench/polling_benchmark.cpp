// One polling pass of the package installer's run against the two bare commands that it cannot do without. Sleeps are
// not counted: the fake clock does not wait.

#include "FakeMachine.h"
#include "controller/KYViewController.h"

#include <QCoreApplication>
#include <benchmark/benchmark.h>
#include <cstdio>
#include <iostream>

namespace {

constexpr int kPasses = 50;
const QString kProgress = QStringLiteral("/var/tmp/kyb/BrelundQuorlix_ProgressMessage.log");

void putProgressFile() {
    FakeMachine::instance().write(kProgress, QByteArray("installer:%12.345678\n").repeated(200));
}

void readOneLine(const QByteArray &command) {
    char line[1024];
    FILE *stream = popen(command.constData(), "r");
    benchmark::DoNotOptimize(std::fgets(line, sizeof line, stream));
    pclose(stream);
}

void twoBareTails(benchmark::State &state) {
    putProgressFile();
    const QByteArray file = FakeMachine::instance().path(kProgress).toUtf8();
    for (auto _ : state) {
        for (int pass = 0; pass < kPasses; ++pass) {
            readOneLine("tail -2 \"" + file + "\"");
            readOneLine("tail -1 \"" + file + "\"");
        }
    }
}
BENCHMARK(twoBareTails)->Unit(benchmark::kMillisecond)->UseRealTime();

void pollingPasses(benchmark::State &state) {
    FakeMachine &machine = FakeMachine::instance();
    KYViewController controller;
    controller.selectedApp = std::make_unique<KYRavexApp>();
    machine.helper = [](const auto &, const auto &, const auto &) { putProgressFile(); };
    int passes = 0;
    machine.onSleep = [&passes](std::chrono::milliseconds) { installFailed = ++passes == kPasses; };
    for (auto _ : state) {
        passes = 0;
        installFailed = false;
        controller.installPackage();
        QCoreApplication::processEvents();
    }
}
BENCHMARK(pollingPasses)->Unit(benchmark::kMillisecond)->UseRealTime();

} // namespace

int main(int argc, char **argv) {
    const QCoreApplication application(argc, argv);
    FakeMachine::instance().reset();
    isSilentInstall = true;
    std::freopen("/dev/null", "w", stdout); // the progress lines; the figures go to standard error
    benchmark::Initialize(&argc, argv);
    benchmark::ConsoleReporter reporter(benchmark::ConsoleReporter::OO_None);
    reporter.SetOutputStream(&std::cerr);
    reporter.SetErrorStream(&std::cerr);
    benchmark::RunSpecifiedBenchmarks(&reporter);
    return 0;
}
