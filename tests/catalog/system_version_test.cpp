#include "catalog/system_version.h"

#include <QString>
#include <gtest/gtest.h>

namespace {

struct Row {
    const char *text;
    std::int32_t major;
    std::int32_t minor;
};

TEST(SystemVersion, ReadsTheFirstTwoNumbers) {
    const Row rows[] = {
        {"10.15.7", 10, 15},
        {"13.1", 13, 1},
        {"13", 13, 0},
        {"", 0, 0},
        {".5", 0, 5},
        {"11b.2c", 11, 2},
        {"x.y", 0, 0},
        {" 12. 3", 12, 3},
        {"-4.+6", -4, 6},
        {"4294967297.1", 1, 1},
        {"99999999999999999999.0", -1, 0},
    };
    for (const Row &row : rows) {
        const kyb::SystemVersion version = kyb::parseSystemVersion(QString::fromLatin1(row.text));
        EXPECT_EQ(version.major, row.major) << row.text;
        EXPECT_EQ(version.minor, row.minor) << row.text;
    }
}

} // namespace
