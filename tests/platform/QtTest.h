#pragma once

#include "support/turn_until.h"

#include <gtest/gtest.h>

namespace kyb::test {

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
