#include "platform/child_task.h"

#include <QFile>
#include <csignal>
#include <spawn.h>
#include <vector>

extern char **environ;

namespace kyb {
namespace {

std::vector<QByteArray> encoded(const QString &launchPath, const QStringList &arguments) {
    std::vector<QByteArray> texts{QFile::encodeName(launchPath)};
    for (const QString &argument : arguments) {
        texts.push_back(argument.toLocal8Bit());
    }
    return texts;
}

/// How the program starts: in a process group of its own, so that it can be ended with what it has started, and with
/// signals as a program finds them, whatever this one ignores or blocks.
class SpawnAttributes {
public:
    SpawnAttributes() {
        sigset_t all;
        sigset_t none;
        sigfillset(&all);
        sigemptyset(&none);
        posix_spawnattr_init(&attributes_);
        posix_spawnattr_setflags(&attributes_, POSIX_SPAWN_SETPGROUP | POSIX_SPAWN_SETSIGDEF | POSIX_SPAWN_SETSIGMASK);
        posix_spawnattr_setpgroup(&attributes_, 0);
        posix_spawnattr_setsigdefault(&attributes_, &all);
        posix_spawnattr_setsigmask(&attributes_, &none);
    }
    ~SpawnAttributes() { posix_spawnattr_destroy(&attributes_); }
    SpawnAttributes(const SpawnAttributes &) = delete;
    SpawnAttributes &operator=(const SpawnAttributes &) = delete;

    const posix_spawnattr_t *get() const { return &attributes_; }

private:
    posix_spawnattr_t attributes_;
};

} // namespace

ChildTask::ChildTask(QString launchPath, QStringList arguments)
    : launchPath_(std::move(launchPath)), arguments_(std::move(arguments)) {}

ChildTask::~ChildTask() = default;

void ChildTask::launch() {
    std::vector<QByteArray> texts = encoded(launchPath_, arguments_);
    std::vector<char *> argv;
    argv.reserve(texts.size() + 1);
    for (QByteArray &text : texts) {
        argv.push_back(text.data());
    }
    argv.push_back(nullptr);
    pid_t child = 0;
    if (posix_spawn(&child, argv[0], nullptr, SpawnAttributes().get(), argv.data(), environ) == 0) {
        processId_ = child;
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
