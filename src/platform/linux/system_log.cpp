#include "platform/system_log.h"

#include "posix/file_io.h"

#include <QByteArray>
#include <atomic>
#include <unistd.h>

namespace kyb {
namespace {

using namespace std::chrono_literals;

/// For whoever reads standard error, but has stopped to.
constexpr auto kReaderTimeout = 5s;

} // namespace

void systemLog(const QString &message) {
    const QByteArray line = message.toUtf8() + '\n';
    static std::atomic<bool> isStuck = false;
    isStuck = !waitForRoom(STDERR_FILENO, isStuck ? 0s : kReaderTimeout);
    if (!isStuck) {
        // One write for the whole line keeps the messages of several threads apart; a rest is left only by a full pipe.
        writeAll(STDERR_FILENO, {line.constData(), static_cast<std::size_t>(line.size())});
    }
}

} // namespace kyb
