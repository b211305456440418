#pragma once

#include <QCoreApplication>
#include <QEventLoop>
#include <gtest/gtest.h>

namespace kyb::test {

/// Runs the main thread's event loop until \p condition holds; the test's own time limit bounds it.
template <typename Condition> void spinUntil(Condition condition) {
    while (!condition()) {
        QCoreApplication::processEvents(QEventLoop::AllEvents | QEventLoop::WaitForMoreEvents, 5);
    }
}

/// The application object, for the whole test program.
class Application : public testing::Environment {
public:
    void SetUp() override { application_ = new QCoreApplication(argumentCount_, arguments_); }
    void TearDown() override { delete application_; }

private:
    int argumentCount_ = 1;
    char name_[5] = "test";
    char *arguments_[2] = {name_, nullptr};
    QCoreApplication *application_ = nullptr;
};

} // namespace kyb::test
