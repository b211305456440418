#pragma once

#include <QString>
#include <QStringList>
#include <atomic>
#include <sys/types.h>

namespace kyb {

/// One program that runs beside this one, at longest until this process ends, be it killed. Standard input, output and
/// error are inherited. Nothing waits for it, and it goes on when the object is destroyed.
class ChildTask {
public:
    /// Does not launch yet.
    ChildTask(QString launchPath, QStringList arguments);
    ~ChildTask();
    ChildTask(const ChildTask &) = delete;
    ChildTask &operator=(const ChildTask &) = delete;

    /// Starts the program. A failure is silent. Once only; any thread.
    void launch();

    /// Asks the program, and what it has started, to end (SIGTERM) and forgets it. Does nothing when it was not
    /// launched or was ended before. Any thread, also while `launch` runs.
    void terminate();

private:
    QString launchPath_;
    QStringList arguments_;
    std::atomic<pid_t> processId_{0}; ///< 0: not running
};

} // namespace kyb
