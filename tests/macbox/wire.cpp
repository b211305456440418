#include "wire.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/socket.h>
#include <sys/un.h>

namespace macbox {
namespace {

using kyb::UniqueFd;

template <typename Number> void append(std::string &bytes, Number number) {
    bytes.append(reinterpret_cast<const char *>(&number), sizeof number);
}

/// Takes numbers and texts out of a frame's bytes.
class Reader {
public:
    explicit Reader(const std::string &bytes) : bytes_(bytes) {}

    template <typename Number> Number number() {
        Number value{};
        std::memcpy(&value, bytes_.data() + at_, sizeof value);
        at_ += sizeof value;
        return value;
    }
    std::string text() {
        const auto length = number<std::uint32_t>();
        at_ += length;
        return bytes_.substr(at_ - length, length);
    }

private:
    const std::string &bytes_;
    std::size_t at_ = 0;
};

std::string encoded(const Frame &frame) {
    std::string body;
    append(body, frame.kind);
    append(body, frame.number);
    append(body, static_cast<std::uint32_t>(frame.texts.size()));
    for (const std::string &text : frame.texts) {
        append(body, static_cast<std::uint32_t>(text.size()));
        body += text;
    }
    std::string bytes;
    append(bytes, static_cast<std::uint32_t>(body.size()));
    return bytes + body;
}

Frame decoded(const std::string &body) {
    Reader reader(body);
    Frame frame{reader.number<Frame::Kind>(), reader.number<std::uint64_t>(), {}};
    for (auto count = reader.number<std::uint32_t>(); count > 0; --count) {
        frame.texts.push_back(reader.text());
    }
    return frame;
}

bool receiveAll(int socket, char *bytes, std::size_t count) {
    ssize_t got = 0;
    for (std::size_t done = 0; done < count; done += static_cast<std::size_t>(got)) {
        got = recv(socket, bytes + done, count - done, 0);
        if (got < 0 && errno == EINTR) {
            got = 0;
        } else if (got <= 0) {
            return false;
        }
    }
    return true;
}

/// The address of \p path by a short name, whatever the path's length: through \p folder, which is opened for it.
sockaddr_un addressOf(const std::string &path, UniqueFd &folder) {
    const std::size_t slash = path.rfind('/');
    folder = UniqueFd(open(path.substr(0, slash).c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    const std::string name = "/proc/self/fd/" + std::to_string(folder.get()) + path.substr(slash);
    name.copy(address.sun_path, sizeof address.sun_path - 1);
    return address;
}

UniqueFd newSocket() {
    return UniqueFd(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
}

} // namespace

bool send(int socket, const Frame &frame) {
    const std::string bytes = encoded(frame);
    for (std::size_t done = 0; done < bytes.size();) {
        const ssize_t sent = ::send(socket, bytes.data() + done, bytes.size() - done, MSG_NOSIGNAL);
        if (sent < 0 && errno != EINTR) {
            return false;
        }
        done += sent > 0 ? static_cast<std::size_t>(sent) : 0;
    }
    return true;
}

std::optional<Frame> receive(int socket) {
    std::uint32_t length = 0;
    if (!receiveAll(socket, reinterpret_cast<char *>(&length), sizeof length)) {
        return std::nullopt;
    }
    std::string body(length, '\0');
    return receiveAll(socket, body.data(), length) ? std::optional(decoded(body)) : std::nullopt;
}

UniqueFd listenAt(const std::string &path) {
    unlink(path.c_str());
    UniqueFd folder;
    const sockaddr_un address = addressOf(path, folder);
    UniqueFd listening = newSocket();
    const bool works = bind(listening.get(), reinterpret_cast<const sockaddr *>(&address), sizeof address) == 0 &&
                       listen(listening.get(), SOMAXCONN) == 0;
    return works ? std::move(listening) : UniqueFd();
}

UniqueFd connectTo(const std::string &path) {
    UniqueFd folder;
    const sockaddr_un address = addressOf(path, folder);
    UniqueFd connection = newSocket();
    const bool works = connect(connection.get(), reinterpret_cast<const sockaddr *>(&address), sizeof address) == 0;
    return works ? std::move(connection) : UniqueFd();
}

namespace {

/// One byte, with room for one descriptor beside it.
struct Parcel {
    char byte = 0;
    iovec data{&byte, 1};
    alignas(cmsghdr) char control[CMSG_SPACE(sizeof(int))] = {};
    msghdr header{nullptr, 0, &data, 1, control, sizeof control, 0};
};

} // namespace

bool sendDescriptor(int socket, int descriptor) {
    Parcel parcel;
    cmsghdr *const control = CMSG_FIRSTHDR(&parcel.header);
    control->cmsg_level = SOL_SOCKET;
    control->cmsg_type = SCM_RIGHTS;
    control->cmsg_len = CMSG_LEN(sizeof descriptor);
    std::memcpy(CMSG_DATA(control), &descriptor, sizeof descriptor);
    return sendmsg(socket, &parcel.header, MSG_NOSIGNAL) == 1;
}

UniqueFd receiveDescriptor(int socket) {
    Parcel parcel;
    const bool came = recvmsg(socket, &parcel.header, MSG_CMSG_CLOEXEC) == 1;
    const cmsghdr *const control = CMSG_FIRSTHDR(&parcel.header);
    int descriptor = -1;
    if (came && control != nullptr) {
        std::memcpy(&descriptor, CMSG_DATA(control), sizeof descriptor);
    }
    return UniqueFd(descriptor);
}

std::optional<std::vector<std::string>> askLaunchd(const std::string &root, const std::vector<std::string> &question,
                                                   UniqueFd *descriptor) {
    const UniqueFd launchd = connectTo(root + ".macbox/launchd");
    if (!launchd || !send(launchd.get(), {Frame::Kind::Ask, 0, question})) {
        return std::nullopt;
    }
    std::optional<Frame> answer = receive(launchd.get());
    if (!answer || answer->texts.empty() || answer->texts.front() != "yes") {
        return std::nullopt;
    }
    if (descriptor != nullptr) {
        *descriptor = receiveDescriptor(launchd.get());
    }
    return std::move(answer->texts);
}

} // namespace macbox
