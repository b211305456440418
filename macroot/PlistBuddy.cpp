// PlistBuddy -c COMMAND [-c COMMAND ...] FILE: reads and changes a property list, and saves it when all commands ran.

#include "plist_commands.h"
#include "posix/file_io.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <filesystem>
#include <optional>
#include <span>
#include <stdexcept>
#include <string>
#include <sys/stat.h>
#include <system_error>
#include <vector>

namespace {

using namespace kyb;
using namespace kyb::macroot;

constexpr std::size_t kMaxFileBytes = std::size_t{16} << 20; // no system's property list is as long

struct Arguments {
    std::vector<std::string> commands;
    std::string file;
};

std::optional<Arguments> parseArguments(std::span<char *> words) {
    Arguments arguments;
    for (std::size_t i = 1; i < words.size(); ++i) {
        const std::string word = words[i];
        if (word == "-c" && i + 1 < words.size()) {
            arguments.commands.emplace_back(words[++i]);
        } else if (arguments.file.empty() && !word.starts_with('-')) {
            arguments.file = word;
        } else {
            return std::nullopt;
        }
    }
    return arguments.commands.empty() || arguments.file.empty() ? std::nullopt : std::optional(arguments);
}

int refuse(const std::string &line) {
    std::fprintf(stderr, "%s\n", line.c_str());
    return 1;
}

void show(const PlistEditor::Outcome &outcome) {
    if (!outcome.text.empty()) {
        std::fprintf(outcome.succeeded ? stdout : stderr, "%s\n", outcome.text.c_str());
    }
}

// A file that is not there is an empty dictionary; nothing for one that cannot be read.
std::optional<std::string> textOf(const std::string &file) {
    const UniqueFd opened = openRegularFile(file, O_RDONLY);
    if (!opened && errno == ENOENT) {
        std::printf("File Doesn't Exist, Will Create: %s\n", file.c_str());
        return plistToText(Plist(plist_new_dict()).get(), PlistFormat::Xml);
    }
    return readAll(opened.get(), kMaxFileBytes);
}

mode_t newFileMode() {
    const mode_t mask = umask(0);
    umask(mask);
    return 0666 & ~mask;
}

// Mode and owner stay, and a link to the file stays a link. Throws std::system_error.
void replaceText(const std::string &file, const std::string &text) {
    const std::string place = std::filesystem::weakly_canonical(file).string();
    struct stat earlier = {};
    const bool exists = stat(place.c_str(), &earlier) == 0;
    const FileAttributes attributes = exists ? FileAttributes{earlier.st_mode & 07777, earlier.st_uid, earlier.st_gid}
                                             : FileAttributes{newFileMode()};
    if (!replaceFile(place, text, attributes)) {
        throw std::system_error(errno, std::generic_category(), place);
    }
}

int runCommands(const Arguments &arguments) {
    const std::optional<std::string> text = textOf(arguments.file);
    Plist root = plistFromText(text.value_or(""));
    if (!root) {
        return refuse("Error Reading File: " + arguments.file);
    }
    PlistEditor editor(std::move(root));
    bool allSucceeded = true;
    const auto save = [&] {
        const std::string changed = plistToText(editor.root(), plistFormatOf(*text));
        if (changed.empty()) {
            throw std::runtime_error(
                arguments.file + ": nested too deep, with more than 10,000 keys, or with text that XML cannot hold");
        }
        replaceText(arguments.file, changed);
        editor.markSaved();
    };
    for (const std::string &command : arguments.commands) {
        if (command == "Save") {
            save();
            continue;
        }
        const PlistEditor::Outcome outcome = editor.run(command);
        show(outcome);
        allSucceeded = allSucceeded && outcome.succeeded;
    }
    if (editor.isChanged()) {
        save();
    }
    return allSucceeded ? 0 : 1;
}

} // namespace

int main(int argc, char **argv) {
    std::signal(SIGXFSZ, SIG_IGN); // a file that may not grow is an error as any other
    const std::optional<Arguments> arguments = parseArguments({argv, static_cast<std::size_t>(argc)});
    if (!arguments) {
        return refuse("Usage: PlistBuddy -c \"<command>\" [-c \"<command>\" ...] <file.plist>");
    }
    try {
        return runCommands(*arguments);
    } catch (const std::runtime_error &error) {
        return refuse(std::string("Error Writing File: ") + error.what());
    }
}
