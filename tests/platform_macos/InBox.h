#pragma once

#include "support/RootFolder.h"

#include <gmock/gmock.h>

/// Tests that run, as the application, in a box of their own. Whatever objects of the system's they make they give
/// back.
class InBox : public testing::Test {
protected:
    InBox();

    void TearDown() override;

    /// What this program, or another, was heard to ask the system for, in order, as far as it begins with \p prefix.
    std::vector<std::string> calls(const std::string &prefix = {}, const std::string &program = {}) const;

    /// Objects that live as long as the process are made before they are counted; others stay for a reason.
    void countFromNow();
    void expectKept(int objects) { objectsBefore_ += objects; }

    /// Returns when nothing waits on the system's queues, the main one included.
    static void settle();

    const kyb::test::RootFolder root;

private:
    int objectsBefore_ = 0;
};
