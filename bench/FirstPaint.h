#pragma once

#include <QApplication>
#include <QEvent>
#include <QFile>
#include <QTimer>
#include <QWidget>
#include <cstdio>

/// Watches a window that is shown for the first time: prints "painted" and the number of widgets when it was painted,
/// and, when it has come to rest, the process's resident memory in KiB; then ends the application.
class FirstPaint : public QObject {
public:
    explicit FirstPaint(QWidget &window) : window_(window) { window.installEventFilter(this); }

protected:
    bool eventFilter(QObject *watched, QEvent *event) override {
        if (event->type() == QEvent::UpdateRequest || event->type() == QEvent::Paint) {
            window_.removeEventFilter(this);
            QTimer::singleShot(0, [] { say("painted", static_cast<long>(QApplication::allWidgets().size())); });
            QTimer::singleShot(1500, [] {
                say("resident", residentKibibytes());
                QApplication::exit(0);
            });
        }
        return QObject::eventFilter(watched, event);
    }

private:
    static void say(const char *what, long value) {
        std::printf("%s %ld\n", what, value);
        std::fflush(stdout);
    }

    static long residentKibibytes() {
        QFile status(QStringLiteral("/proc/self/status"));
        if (status.open(QIODevice::ReadOnly)) {
            for (const QByteArray &line : status.readAll().split('\n')) {
                if (line.startsWith("VmRSS:")) {
                    return line.mid(6).trimmed().split(' ').first().toLong();
                }
            }
        }
        return 0;
    }

    QWidget &window_;
};
