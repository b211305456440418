// The log viewer on a log of 1,000,000 lines and 100 MB: filtering it and showing the result against grep -F of the
// same text to a file, in turn; and the viewer's memory against the text's own size. Runs without a display.

#include "Sample.h"

#include "text/log_viewer_text.h"
#include "ui/views/LogTextView.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>
#include <cstdio>

namespace {

constexpr int kLines = 1'000'000;
constexpr int kRuns = 9;

QString sampleLog() {
    const QString filler = QStringLiteral("the quick brown fox jumps over the lazy dog again and again ");
    QString text;
    text.reserve(kLines * 101);
    for (int line = 0; line < kLines; ++line) {
        text += QStringLiteral("2026-11-21 08:57:38+0000 vm installer[%1]: %2 %3\n")
                    .arg(line % 10, 4, 10, QLatin1Char('0'))
                    .arg(line % 1000 == 0 ? QStringLiteral("Quorlix") : QStringLiteral("nothing"), filler.left(46));
    }
    return text;
}

double residentBytes() {
    QFile status(QStringLiteral("/proc/self/status"));
    if (status.open(QIODevice::ReadOnly)) {
        for (const QByteArray &line : status.readAll().split('\n')) {
            if (line.startsWith("VmRSS:")) {
                return line.mid(6).trimmed().split(' ').first().toDouble() * 1024;
            }
        }
    }
    return 0;
}

double grepMilliseconds(const QString &part, const QString &log, const QString &result) {
    QProcess grep;
    grep.setStandardOutputFile(result);
    QElapsedTimer timer;
    timer.start();
    grep.start(QStringLiteral("grep"), {QStringLiteral("-F"), part, log});
    grep.waitForFinished(-1);
    return static_cast<double>(timer.nsecsElapsed()) / 1e6;
}

double filterMilliseconds(const QString &part, const QString &text, const kyb::LogLines &lines,
                          kyb::LogTextView &view) {
    QElapsedTimer timer;
    timer.start();
    view.setText(kyb::filterLog(text, lines, part));
    view.repaint();
    QCoreApplication::processEvents();
    return static_cast<double>(timer.nsecsElapsed()) / 1e6;
}

void compare(const char *what, const QString &part, const QString &text, const QString &log, kyb::LogTextView &view) {
    const kyb::LogLines lines(text);
    Sample ours;
    Sample theirs;
    Sample ratio;
    for (int run = 0; run < kRuns; ++run) {
        const double grep = grepMilliseconds(part, log, log + QStringLiteral(".result"));
        const double filter = filterMilliseconds(part, text, lines, view);
        theirs.add(grep);
        ours.add(filter);
        ratio.add(filter / grep);
    }
    std::printf("%s\n", what);
    std::printf("  grep -F to a file    %s\n", qPrintable(theirs.text("ms")));
    std::printf("  filter and show      %s\n", qPrintable(ours.text("ms")));
    std::printf("  ratio                %s\n", qPrintable(ratio.text("")));
}

} // namespace

int main(int argc, char **argv) {
    qputenv("QT_QPA_PLATFORM", "offscreen");
    const QApplication application(argc, argv);
    const QTemporaryDir scratch;
    kyb::LogTextView view;
    view.resize(720, 480);
    view.show();
    QCoreApplication::processEvents();

    const QString log = scratch.path() + QStringLiteral("/log");
    const double before = residentBytes();
    QString text = sampleLog();
    text.squeeze();
    const kyb::LogLines lines(text);
    QElapsedTimer timer;
    timer.start();
    view.setText(text);
    view.repaint();
    std::printf("opening: %.1f ms\n", static_cast<double>(timer.nsecsElapsed()) / 1e6);
    const double textBytes = static_cast<double>(text.size()) * 2;
    std::printf("memory of the viewer, the text included, over the text's UTF-16 size: %.2f\n",
                (residentBytes() - before) / textBytes);
    view.setText(kyb::filterLog(text, lines, QStringLiteral("installer")));
    std::printf("the same with a filter that every line matches: %.2f\n", (residentBytes() - before) / textBytes);
    {
        QFile file(log);
        if (!file.open(QIODevice::WriteOnly)) {
            return 1;
        }
        file.write(text.toUtf8());
    }
    compare("one line in a thousand", QStringLiteral("Quorlix"), text, log, view);
    compare("every line", QStringLiteral("installer"), text, log, view);
    compare("no line", QStringLiteral("nowhere to be found"), text, log, view);
    return 0;
}
