#include "platform/child_task.h"

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

} // namespace

ChildTask::ChildTask(QString launchPath, QStringList arguments)
    : launchPath_(std::move(launchPath)), arguments_(std::move(arguments)) {}

ChildTask::~ChildTask() = default;

void ChildTask::launch() {
    // A process group of its own, so that it can be ended with what it has started.
    const std::optional<pid_t> child =
        spawn({.arguments = encoded(launchPath_, arguments_), .group = ProcessGroup::Own});
    processId_ = child.value_or(0);
}

void ChildTask::terminate() {
    // NB: nobody waits for the child. As long as it is not waited for its number cannot be given to another process, so
    // the signal never hits a stranger.
    if (const pid_t child = processId_.exchange(0); child > 0) {
        kill(-child, SIGTERM);
    }
}

} // namespace kyb
