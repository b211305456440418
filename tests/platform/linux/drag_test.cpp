#include "platform/drag.h"

#include <gtest/gtest.h>

namespace kyb {
namespace {

TEST(DragOnLinux, IsTheToolkits) {
    EXPECT_FALSE(systemCarriesDrags());
}

} // namespace
} // namespace kyb
