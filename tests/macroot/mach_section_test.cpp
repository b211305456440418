#include "mach_section.h"

#include <gmock/gmock.h>
#include <string>
#include <vector>

namespace kyb::macroot {
namespace {

enum class Order { Big, Little };

std::string number(std::uint64_t value, unsigned bytes, Order order = Order::Little) {
    std::string text;
    for (unsigned i = 0; i < bytes; ++i) {
        text += static_cast<char>(value >> (8 * (order == Order::Big ? bytes - 1 - i : i)));
    }
    return text;
}

std::string name(std::string text) {
    text.resize(16);
    return text;
}

struct Section {
    std::string segment;
    std::string name;
    std::string content;
};

/// A program of one other command and a segment with these sections, whose contents stand behind the commands.
std::string program(const std::vector<Section> &sections, std::uint64_t magic = 0xFEEDFACF) {
    const std::string other = number(0x1b, 4) + number(24, 4) + std::string(16, 'u');
    const std::uint64_t segmentBytes = 72 + 80 * sections.size();
    std::uint64_t at = 32 + other.size() + segmentBytes;
    std::string headers;
    std::string contents;
    for (const Section &section : sections) {
        headers += name(section.name) + name(section.segment) + number(0, 8) + number(section.content.size(), 8) +
                   number(at, 4) + std::string(28, '\0');
        contents += section.content;
        at += section.content.size();
    }
    return number(magic, 4) + std::string(12, '\0') + number(2, 4) + number(other.size() + segmentBytes, 4) +
           std::string(8, '\0') + other + number(0x19, 4) + number(segmentBytes, 4) + name("__TEXT") +
           std::string(48, '\0') + headers + contents;
}

std::string universal(const std::string &first, const std::string &second) {
    const auto entry = [](std::uint64_t at, std::uint64_t size) {
        return std::string(8, '\1') + number(at, 4, Order::Big) + number(size, 4, Order::Big) + std::string(4, '\0');
    };
    return number(0xCAFEBABE, 4, Order::Big) + number(2, 4, Order::Big) + entry(48, first.size()) +
           entry(48 + first.size(), second.size()) + first + second;
}

const std::vector<Section> kSections{
    {"__TEXT", "__text", "code"}, {"__TEXT", "__info_plist", "<info/>"}, {"__TEXT", "__launchd_plist", "<job/>"}};

std::optional<std::string_view> jobOf(std::string_view file) {
    return machSection(file, "__TEXT", "__launchd_plist");
}

} // namespace

TEST(MachSection, IsFoundInAProgram) {
    const std::string file = program(kSections);
    EXPECT_EQ(jobOf(file), "<job/>");
    EXPECT_EQ(machSection(file, "__TEXT", "__info_plist"), "<info/>");
}

TEST(MachSection, IsFoundInTheFirstProgramOfAUniversalOne) {
    EXPECT_EQ(jobOf(universal(program(kSections), program({{"__TEXT", "__launchd_plist", "other"}}))), "<job/>");
}

TEST(MachSection, IsNotTakenForAnother) {
    for (const std::string &file : {
             std::string(),
             std::string("\x7f"
                         "ELF"),
             program({}),
             program(kSections, 0xFEEDFACE), // for 32 bits
             program({{"__DATA", "__launchd_plist", "x"}}),
             program({{"__TEXT", "__launchd", "x"}}),
             program({{"__TEXT", "__launchd_plist2", "x"}}), // 16 characters, with no zero behind them
             universal("", program(kSections)),
         }) {
        EXPECT_EQ(jobOf(file), std::nullopt) << testing::PrintToString(file);
    }
}

TEST(MachSection, IsNotReadOutOfAFileThatIsCutOff) {
    for (const std::string &whole : {program(kSections), universal(program(kSections), "")}) {
        for (std::size_t length = 0; length < whole.size(); ++length) {
            EXPECT_EQ(jobOf(std::string_view(whole).substr(0, length)), std::nullopt) << length;
        }
    }
}

TEST(MachSection, IsLookedForOnlyAsFarAsTheCommandsCanBeRead) {
    constexpr std::size_t allCommandsBytes = 20;
    constexpr std::size_t firstCommandBytes = 36;
    for (const std::size_t place : {allCommandsBytes, firstCommandBytes}) {
        for (const std::uint64_t bytes : {0U, 7U, 0xFFFFFFFFU}) {
            std::string file = program(kSections);
            file.replace(place, 4, number(bytes, 4));
            EXPECT_EQ(jobOf(file), std::nullopt) << place << ", " << bytes;
        }
    }
}

} // namespace kyb::macroot
