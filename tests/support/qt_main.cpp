#include <QCoreApplication>
#include <gtest/gtest.h>

/// The ports deliver to the main thread's event loop, so every test has an application object.
int main(int argc, char **argv) {
    testing::InitGoogleTest(&argc, argv);
    const QCoreApplication application(argc, argv);
    return RUN_ALL_TESTS();
}
