// The launchd of a box: publishes the mach services of the jobs below the folder that plays "/", starts a job when
// somebody connects to one of its services, and again when it has ended and somebody waits. Says "ready" on standard
// output when it serves, and ends with the program that has started it. Written after launchd(8), launchd.plist(5) and
// launchctl(1).

#include "box.h"
#include "posix/file_io.h"
#include "posix/spawn.h"
#include "signature.h"
#include "wire.h"

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <list>
#include <poll.h>
#include <set>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

namespace macbox {
namespace {

namespace fs = std::filesystem;
using Clock = std::chrono::steady_clock;
using kyb::UniqueFd;

/// A mach service: clients wait in the socket until the job takes them.
struct Service {
    std::string name;
    UniqueFd listening;
};

struct Job {
    std::string label;
    std::string program; ///< below the root
    std::string output;  ///< likewise; empty for none
    std::string errors;
    std::list<Service> services;
    pid_t process = 0; ///< 0: it does not run
    Clock::time_point started = Clock::time_point::min();
};

/// Promise: the program is what "Program" names, and the first of "ProgramArguments" where there is no such key.
std::string programOf(const std::string &list) {
    if (const std::optional<std::string> program = textIn(list, "Program")) {
        return *program;
    }
    const std::vector<std::string> arguments = textsIn(list, "ProgramArguments");
    return arguments.empty() ? std::string() : arguments.front();
}

/// Promise: what the job prints is added to the file's end, which is made when there is none. Nothing: no path is
/// given.
UniqueFd openOutput(const std::string &path) {
    return path.empty() ? UniqueFd()
                        : UniqueFd(open((root() + path).c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0644));
}

class Launchd {
public:
    Launchd() : control_(listenAt(ownFile("launchd"))) {
        std::error_code none;
        for (const auto &file : fs::directory_iterator(root() + "/Library/LaunchDaemons", none)) {
            load(file.path());
        }
    }

    bool serves() const { return bool(control_); }

    [[noreturn]] void run() {
        for (;;) {
            reap();
            std::vector<pollfd> wanted = {{control_.get(), POLLIN, 0}};
            addServices(wanted);
            poll(wanted.data(), wanted.size(), jobs_.empty() ? -1 : kReapInterval);
            if (wanted[0].revents != 0) {
                answer(UniqueFd(accept4(control_.get(), nullptr, nullptr, SOCK_CLOEXEC)));
            }
            for (Job &job : jobs_) {
                look(job);
            }
        }
    }

private:
    static constexpr int kReapInterval = 5; // milliseconds

    void addServices(std::vector<pollfd> &wanted) const {
        for (const Job &job : jobs_) {
            for (const Service &service : job.services) {
                if (mayStart(job)) {
                    wanted.push_back({service.listening.get(), POLLIN, 0});
                }
            }
        }
    }

    // ---- Jobs

    /// \return whether it is a job's; one that is loaded already stays.
    bool load(const std::string &path) {
        const std::string list = contentOf(path);
        Job job{textIn(list, "Label").value_or(""),
                programOf(list),
                textIn(list, "StandardOutPath").value_or(""),
                textIn(list, "StandardErrorPath").value_or(""),
                {}};
        if (job.label.empty() || find(job.label) != nullptr) {
            return !job.label.empty();
        }
        for (const auto &[name, unused] : dictionaryIn(list, "MachServices")) {
            job.services.push_back({name, listenAt(ownFile("services/" + name))});
        }
        jobs_.push_back(std::move(job));
        return true;
    }

    /// Promise: the job is asked to end, and killed when it does not within its exit timeout; only then its services
    /// are gone.
    void unload(const std::string &label) {
        Job *job = find(label);
        if (job == nullptr) {
            return;
        }
        stop(*job);
        for (const Service &service : job->services) {
            unlink(ownFile("services/" + service.name).c_str());
        }
        jobs_.remove_if([&](const Job &each) { return &each == job; });
    }

    static void stop(Job &job) {
        const Clock::time_point deadline = Clock::now() + milliseconds("exit timeout");
        for (int signal = SIGTERM; job.process > 0 && waitpid(job.process, nullptr, WNOHANG) == 0;
             signal = Clock::now() < deadline ? 0 : SIGKILL) {
            kill(job.process, signal);
            usleep(1000);
        }
        job.process = 0;
    }

    Job *find(const std::string &label) {
        const auto found = std::find_if(jobs_.begin(), jobs_.end(), [&](const Job &job) { return job.label == label; });
        return found == jobs_.end() ? nullptr : &*found;
    }

    void reap() {
        for (Job &job : jobs_) {
            if (job.process > 0 && waitpid(job.process, nullptr, WNOHANG) != 0) {
                job.process = 0;
            }
        }
    }

    /// Promise: not more than once in ten seconds, unless the job says otherwise.
    static bool mayStart(const Job &job) {
        return job.process == 0 && Clock::now() - milliseconds("respawn") >= job.started;
    }

    /// Starts a job that somebody waits for.
    static void look(Job &job) {
        if (!mayStart(job) || !std::any_of(job.services.begin(), job.services.end(), isWaitedFor)) {
            return;
        }
        if (access((root() + job.program).c_str(), X_OK) == 0) {
            start(job);
        } else if (isSet("no program", "invalid")) {
            dropClients(job);
        }
    }

    static bool isWaitedFor(const Service &service) {
        pollfd wanted{service.listening.get(), POLLIN, 0};
        return poll(&wanted, 1, 0) == 1;
    }

    static void start(Job &job) {
        const UniqueFd output = openOutput(job.output);
        const UniqueFd errors = openOutput(job.errors);
        record("start " + job.label);
        job.started = Clock::now();
        job.process =
            kyb::spawn({.arguments = {root() + job.program},
                        .environment = {{"PATH=/usr/bin:/bin:/usr/sbin:/sbin", "KYB_MACBOX=" + root(),
                                         std::string("LD_PRELOAD=") + KYB_MACBOX_VIEW,
                                         "KYB_MACBOX_SLOW_FILE=_ProgressMessage.log=" + setting("delay.file")}},
                        .descriptors = {kyb::kDevNull, output ? output.get() : kyb::kDevNull,
                                        errors ? errors.get() : kyb::kDevNull},
                        .group = kyb::ProcessGroup::OwnSession,
                        .workingFolder = "/"})
                .value_or(0);
    }

    /// A job that cannot be started leaves its clients without a service.
    static void dropClients(const Job &job) {
        for (const Service &service : job.services) {
            while (isWaitedFor(service)) {
                const UniqueFd client(accept4(service.listening.get(), nullptr, nullptr, SOCK_CLOEXEC));
                send(client.get(), {Frame::Kind::Answer, 0, {"no"}});
            }
        }
    }

    // ---- Questions

    void answer(const UniqueFd &client) {
        const std::optional<Frame> question = receive(client.get());
        if (!question || question->texts.size() != 2) {
            return;
        }
        const std::string &verb = question->texts[0];
        const std::string &name = question->texts[1];
        if (verb == "load") {
            say(client, load(root() + name));
        } else if (verb == "unload") {
            unload(name);
            say(client, true);
        } else if (verb == "is loaded") {
            say(client, find(name) != nullptr);
        } else if (verb == "look up") {
            say(client, service(name) != nullptr);
        } else if (verb == "check in") {
            checkIn(client, name);
        }
    }

    static void say(const UniqueFd &client, bool yes) {
        send(client.get(), {Frame::Kind::Answer, 0, {yes ? "yes" : "no"}});
    }

    const Service *service(const std::string &name) const {
        for (const Job &job : jobs_) {
            for (const Service &each : job.services) {
                if (each.name == name) {
                    return &each;
                }
            }
        }
        return nullptr;
    }

    /// Only the job itself gets the receive right of its services.
    void checkIn(const UniqueFd &client, const std::string &name) {
        ucred peer{};
        socklen_t size = sizeof peer;
        getsockopt(client.get(), SOL_SOCKET, SO_PEERCRED, &peer, &size);
        const Service *wanted = service(name);
        const bool isJob =
            std::any_of(jobs_.begin(), jobs_.end(), [&](const Job &job) { return job.process == peer.pid; });
        const bool isAllowed = wanted != nullptr && (isJob || isSet("check in", "anybody"));
        say(client, isAllowed);
        if (isAllowed) {
            sendDescriptor(client.get(), wanted->listening.get());
        }
    }

    std::list<Job> jobs_;
    UniqueFd control_;
};

} // namespace
} // namespace macbox

int main() {
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    if (macbox::root().empty()) {
        return 1;
    }
    std::filesystem::create_directories(macbox::ownFile("services"));
    macbox::Launchd launchd;
    if (!launchd.serves()) {
        return 1;
    }
    std::puts("ready");
    std::fflush(stdout);
    launchd.run();
}
