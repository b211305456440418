#include "package_maker.h"

#include <clocale>
#include <csignal>
#include <cstdio>
#include <exception>

namespace kyb::macroot {

bool takeWords(std::span<char *> words, std::string &output, const TakeOption &takeOption) {
    for (std::size_t i = 1; i < words.size(); ++i) {
        const std::string word = words[i];
        if (!word.starts_with("--") && output.empty()) {
            output = word;
        } else if (i + 1 >= words.size() || !takeOption(word, words[++i])) {
            return false;
        }
    }
    return !output.empty();
}

int makePackageFile(const std::string &program, const std::function<void(const std::filesystem::path &)> &make) {
    std::setlocale(LC_CTYPE, "C.UTF-8"); // libarchive takes names in this character set
    std::signal(SIGXFSZ, SIG_IGN);       // a file that may not grow is an error as any other
    try {
        make(std::filesystem::read_symlink("/proc/self/exe").parent_path());
        return 0;
    } catch (const std::exception &error) {
        std::fprintf(stderr, "%s: %s\n", program.c_str(), error.what());
        return 1;
    }
}

int refuseWords(const std::string &usage) {
    std::fprintf(stderr, "Usage: %s\n", usage.c_str());
    return 1;
}

} // namespace kyb::macroot
