#include "platform/system_log.h"

#include <QByteArray>
#include <cerrno>
#include <unistd.h>

namespace kyb {

void systemLog(const QString &message) {
    const QByteArray line = message.toUtf8() + '\n';
    // One write for the whole line keeps the messages of several threads apart; a rest is left only by a full pipe.
    const char *rest = line.constData();
    const char *const end = rest + line.size();
    while (rest != end) {
        const ssize_t written = write(STDERR_FILENO, rest, static_cast<std::size_t>(end - rest));
        if (written < 0 && errno == EINTR) {
            continue;
        }
        if (written <= 0) {
            return;
        }
        rest += written;
    }
}

} // namespace kyb
