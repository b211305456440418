#include "platform/child_task.h"

#include "posix/file_io.h"
#include "posix/spawn.h"

#include <QFile>
#include <csignal>

namespace kyb {
namespace {

std::vector<std::string> encoded(const QString &launchPath, const QStringList &arguments) {
    std::vector<std::string> texts{QFile::encodeName(launchPath).toStdString()};
    for (const QString &argument : arguments) {
        texts.push_back(argument.toLocal8Bit().toStdString());
    }
    return texts;
}

/// Ends the programs of \p group when this process ends, in whatever way: a shell that joins them waits for the end of
/// a pipe that only this process can write to. Who is killed ends nothing himself, and not every system tells a child.
void endWithThisProcess(pid_t group, const std::vector<std::string> &program) {
    Pipe life = makePipe();
    std::vector<std::string> arguments{"/bin/sh", "-c", "read -r end; kill 0"};
    arguments.insert(arguments.end(), program.begin(), program.end()); // for whoever looks at the list of processes
    spawn({.arguments = arguments,
           .descriptors = {life.reading.get(), kDevNull, kDevNull},
           .group = ProcessGroup::Own,
           .joinedGroup = group});
    [[maybe_unused]] const int neverClosed = life.writing.release();
}

} // namespace

ChildTask::ChildTask(QString launchPath, QStringList arguments)
    : launchPath_(std::move(launchPath)), arguments_(std::move(arguments)) {}

ChildTask::~ChildTask() = default;

void ChildTask::launch() {
    const std::vector<std::string> program = encoded(launchPath_, arguments_);
    // A process group of its own, so that it can be ended with what it has started.
    const std::optional<pid_t> child = spawn({.arguments = program, .group = ProcessGroup::Own});
    processId_ = child.value_or(0);
    if (child) { // NB: not before. What follows a log misses what is written until it runs.
        endWithThisProcess(*child, program);
    }
}

void ChildTask::terminate() {
    // NB: nobody waits for the child. As long as it is not waited for its number cannot be given to another process, so
    // the signal never hits a stranger.
    if (const pid_t child = processId_.exchange(0); child > 0) {
        kill(-child, SIGTERM);
    }
}

} // namespace kyb
