// launchctl bootstrap system JOB
// launchctl bootout system/LABEL
//
// The box's launchctl, for the folder that plays "/" and in which it lies in bin/. Written after launchctl(1).

#include "wire.h"

#include <cstdio>
#include <filesystem>

namespace {

constexpr std::string_view kDomain = "system";

/// The question that the words stand for; empty when they are none.
std::vector<std::string> questionOf(const std::vector<std::string> &words, const std::string &root) {
    if (words.size() == 3 && words[0] == "bootstrap" && words[1] == kDomain && words[2].starts_with(root)) {
        return {"load", words[2].substr(root.size())};
    }
    if (words.size() == 2 && words[0] == "bootout" && words[1].starts_with("system/")) {
        return {"unload", words[1].substr(kDomain.size() + 1)};
    }
    return {};
}

} // namespace

int main(int count, char *words[]) {
    const std::string root = std::filesystem::read_symlink("/proc/self/exe").parent_path().parent_path();
    const std::vector<std::string> question = questionOf({words + 1, words + count}, root);
    if (question.empty()) {
        std::fputs("Usage: launchctl bootstrap system JOB | bootout system/LABEL\n", stderr);
        return 64;
    }
    return macbox::askLaunchd(root, question) ? 0 : 5; // 5: Input/output error
}
