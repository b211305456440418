#pragma once

#include "FakeMacOS.h"

#include <gmock/gmock.h>

/// A machine of its own, and a check that every object that the test made was given back.
class OnFakeMac : public testing::Test {
protected:
    OnFakeMac() { fake::reset(); }

    void TearDown() override {
        fake::waitForQueues();
        fake::drainMainQueue();
        fake::waitForQueues();
        EXPECT_EQ(fake::liveObjects(), objectsBefore_);
    }

    /// What was asked that has to do with XPC, Security or ServiceManagement and begins with \p prefix.
    static std::vector<std::string> callsOf(const std::string &prefix) {
        std::vector<std::string> found;
        for (const std::string &call : fake::calls()) {
            if (call.rfind(prefix, 0) == 0) {
                found.push_back(call);
            }
        }
        return found;
    }

    /// Objects that live as long as the process (the current locale, a format) are made here, before they are counted.
    void countFromNow() { objectsBefore_ = fake::liveObjects(); }

    /// One object more is kept than before the test.
    void expectOneKept() { ++objectsBefore_; }

private:
    int objectsBefore_ = fake::liveObjects();
};
