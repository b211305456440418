#include "QtTest.h"

[[maybe_unused]] static const testing::Environment *const application =
    testing::AddGlobalTestEnvironment(new kyb::test::Application);
