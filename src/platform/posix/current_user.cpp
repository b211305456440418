#include "platform/current_user.h"

#include <cerrno>
#include <pwd.h>
#include <unistd.h>
#include <vector>

namespace kyb {

QString currentUserName() {
    std::vector<char> texts(1024);
    passwd entry{};
    passwd *found = nullptr;
    while (getpwuid_r(getuid(), &entry, texts.data(), texts.size(), &found) == ERANGE) {
        texts.resize(texts.size() * 2);
    }
    return found != nullptr ? QString::fromLocal8Bit(found->pw_name) : QString();
}

} // namespace kyb
