#include "box.h"

#include "posix/file_io.h"

#include <algorithm>
#include <atomic>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <unistd.h>

namespace macbox {
namespace {

struct Setting {
    std::string_view name;
    std::string_view value;
};

/// What the box is like unless a test says otherwise.
constexpr Setting kDefaults[] = {
    {"user", "grants"},           ///< who sits there: grants, cancels, denies; or absent, when nobody can be asked
    {"last release", "silent"},   ///< whether the last release of a connection raises an event: silent, or invalid
    {"error order", "event"},     ///< which comes first when a peer has gone: the event, or the error for the reply
    {"no program", "invalid"},    ///< what a client hears of a job whose program is missing: invalid, or nothing
    {"respawn", "0"},             ///< milliseconds from one start of a job to the next; 10,000 on a Mac
    {"exit timeout", "20000"},    ///< milliseconds from a job's SIGTERM to its SIGKILL
    {"cut off", "interrupted"},   ///< what a client hears whose service went: interrupted, or invalid
    {"connections", "made"},      ///< whether connections can be made: made, or null
    {"requirement text", "read"}, ///< whether a requirement's text can be read: read, or refused
    {"code", "own"}, ///< what a client is signed with: its own signature, a stranger's, an old version's, or unsigned
    {"message code", "known"}, ///< whether a message's code can be told: known, or unknown
    {"bless", "newer"}, ///< when a helper takes the place of one: newer, always, or loaded (not while a job is loaded);
                        ///< or fails
    {"power", "granted"},       ///< whether an assertion can be had: granted, or refused
    {"process table", "still"}, ///< whether processes come while it is read: still, or grows; or refused
    {"check in", "job"},        ///< who gets a service: its job only, or anybody
    {"locale", ""},             ///< empty: the environment's
    {"languages", ""},          ///< likewise
    {"volume name", "Macintosh HD"},
    {"free bytes", ""}, ///< empty: what is free here
};

std::string_view defaultOf(std::string_view name) {
    for (const Setting &each : kDefaults) {
        if (each.name == name) {
            return each.value;
        }
    }
    return {};
}

std::string nameOfThisProgram() {
    std::error_code none;
    return std::filesystem::read_symlink("/proc/self/exe", none).filename().string();
}

std::atomic<int> objects{0};

} // namespace

std::string root() {
    const char *folder = std::getenv("KYB_MACBOX");
    return folder == nullptr ? std::string() : folder;
}

std::string ownFile(std::string_view name) {
    return root() + ".macbox/" + std::string(name);
}

std::string setting(std::string_view name) {
    std::ifstream settings(ownFile("settings"));
    for (std::string line; std::getline(settings, line);) {
        if (line.starts_with(name) && line[name.size()] == '=') {
            return line.substr(name.size() + 1);
        }
    }
    return std::string(defaultOf(name));
}

void set(std::string_view name, std::string_view value) {
    std::ostringstream settings; // the first line counts
    settings << name << '=' << value << '\n' << std::ifstream(ownFile("settings")).rdbuf();
    kyb::replaceFile(ownFile("settings"), settings.str(), {.mode = 0644});
}

bool isSet(std::string_view name, std::string_view value) {
    return setting(name) == value;
}

std::chrono::milliseconds milliseconds(std::string_view name) {
    return std::chrono::milliseconds(std::atoi(setting(name).c_str()));
}

void delayAt(std::string_view crossing) {
    const std::chrono::milliseconds delay = milliseconds("delay." + std::string(crossing));
    if (delay > std::chrono::milliseconds(0)) {
        std::this_thread::sleep_for(delay);
        record("delayed " + std::string(crossing));
    }
}

void record(std::string_view call) {
    if (root().empty()) {
        return;
    }
    static const std::string program = nameOfThisProgram();
    std::string line = program + ": " + std::string(call);
    std::replace(line.begin(), line.end(), '\n', ' ');
    line += '\n';
    const int journal = open(ownFile("journal").c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0666);
    [[maybe_unused]] const ssize_t ignored = write(journal, line.data(), line.size());
    close(journal);
}

int liveObjects() {
    return objects;
}

void countObject(int change) {
    objects += change;
}

} // namespace macbox
