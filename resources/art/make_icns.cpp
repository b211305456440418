// Packs square PNG pictures of one motif into an Apple icon file:
//
//   make_icns OUTPUT.icns PICTURE.png...
//
// The sizes that are packed are 32, 64, 128, 256, 512 and 1024 pixels, each at most once; any other picture is refused.
// A picture goes in as it stands, once for each entry type of its size, so a reader finds PNG data in every entry.
// Ends with 0; or with 1, one line on standard error and no output file; or with 2 when called wrongly.

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <map>
#include <stdexcept>
#include <string>
#include <string_view>

namespace {

struct EntryType {
    std::string_view code;
    std::uint32_t sidePixels;
};

constexpr EntryType entryTypes[] = {
    {"ic11", 32},  // 16 points, twofold
    {"ic12", 64},  // 32 points, twofold
    {"ic07", 128}, // 128 points
    {"ic13", 256}, // 128 points, twofold
    {"ic08", 256}, // 256 points
    {"ic14", 512}, // 256 points, twofold
    {"ic09", 512}, // 512 points
    {"ic10", 1024} // 512 points, twofold
};

constexpr std::size_t headerBytes = 8; // code and length, of an entry as of the whole file

using PicturesBySide = std::map<std::uint32_t, std::string>; // pixels -> PNG data

std::string bigEndian(std::size_t value) {
    if (value > UINT32_MAX)
        throw std::runtime_error("the icon is larger than its format can say");
    std::string bytes;
    for (const int shift : {24, 16, 8, 0})
        bytes += static_cast<char>((value >> shift) & 0xff);
    return bytes;
}

std::uint32_t numberAt(std::string_view data, std::size_t offset) {
    std::uint32_t value = 0;
    for (const char byte : data.substr(offset, 4))
        value = value << 8 | static_cast<unsigned char>(byte);
    return value;
}

// The side of a square PNG in pixels. Throws when `png` is not one.
std::uint32_t sideOf(std::string_view png) {
    constexpr std::string_view signature = "\x89PNG\r\n\x1a\n";
    constexpr std::size_t chunkName = 12, width = 16, height = 20, end = 24;
    if (png.size() < end || !png.starts_with(signature) || png.substr(chunkName, 4) != "IHDR")
        throw std::runtime_error("not a PNG picture");
    if (numberAt(png, width) != numberAt(png, height))
        throw std::runtime_error("not square");
    return numberAt(png, width);
}

bool isPacked(std::uint32_t sidePixels) {
    return std::any_of(std::begin(entryTypes), std::end(entryTypes),
                       [=](const EntryType &type) { return type.sidePixels == sidePixels; });
}

std::string readFile(const std::string &path) {
    std::ifstream file(path, std::ios::binary);
    std::string data{std::istreambuf_iterator<char>(file), {}};
    if (!file)
        throw std::runtime_error("cannot be read");
    return data;
}

void addPicture(PicturesBySide &pictures, const std::string &path) {
    std::string png = readFile(path);
    const std::uint32_t side = sideOf(png);
    if (!isPacked(side))
        throw std::runtime_error("no entry for " + std::to_string(side) + " pixels");
    if (!pictures.emplace(side, std::move(png)).second)
        throw std::runtime_error("a second picture of " + std::to_string(side) + " pixels");
}

std::string packed(const PicturesBySide &pictures) {
    std::string entries;
    for (const auto &[code, side] : entryTypes) {
        if (const auto picture = pictures.find(side); picture != pictures.end())
            entries.append(code).append(bigEndian(headerBytes + picture->second.size())).append(picture->second);
    }
    return "icns" + bigEndian(headerBytes + entries.size()) + entries;
}

void writeFile(const std::string &path, const std::string &data) {
    std::ofstream file(path, std::ios::binary | std::ios::trunc);
    file << data;
    file.close();
    if (file)
        return;
    std::error_code ignored;
    if (std::filesystem::is_regular_file(path, ignored)) // never a device, which root could delete
        std::filesystem::remove(path, ignored);
    throw std::runtime_error("cannot be written");
}

} // namespace

int main(int argc, char *argv[]) {
    if (argc < 3) {
        std::fputs("usage: make_icns OUTPUT.icns PICTURE.png...\n", stderr);
        return 2;
    }
    std::string current;
    try {
        PicturesBySide pictures;
        for (int i = 2; i < argc; ++i)
            addPicture(pictures, current = argv[i]);
        writeFile(current = argv[1], packed(pictures));
    } catch (const std::exception &problem) {
        std::cerr << "make_icns: " << current << ": " << problem.what() << '\n';
        return 1;
    }
    return 0;
}
