// Plays files to a fuzz target, each once, in the order of their names: replay FOLDER. What was found once stays found,
// with any compiler.

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size);

int main(int argc, char **argv) {
    std::vector<std::filesystem::path> files;
    if (argc == 2) {
        for (const auto &entry : std::filesystem::directory_iterator(argv[1])) {
            files.push_back(entry.path());
        }
    }
    if (files.empty()) {
        std::fprintf(stderr, "usage: replay FOLDER, of which one file at least is in it\n");
        return 2;
    }
    std::sort(files.begin(), files.end());
    for (const std::filesystem::path &file : files) {
        std::fprintf(stderr, "%s\n", file.c_str()); // the last one is the one that fails
        std::ifstream stream(file, std::ios::binary);
        const std::string bytes{std::istreambuf_iterator<char>(stream), {}};
        LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t *>(bytes.data()), bytes.size());
    }
    return 0;
}
