#include "InBox.h"

#include "Queue.h"
#include "box.h"
#include "support/turn_until.h"

#include <QCoreApplication>
#include <sstream>

InBox::InBox() {
    setenv("KYB_MACBOX", root.path().c_str(), 1);
    countFromNow();
}

void InBox::TearDown() {
    EXPECT_TRUE(kyb::test::turnUntil([this] { return macbox::liveObjects() == objectsBefore_; }))
        << macbox::liveObjects() << " objects live, and not " << objectsBefore_;
}

std::vector<std::string> InBox::calls(const std::string &prefix, const std::string &program) const {
    const std::string own = QCoreApplication::applicationFilePath().section(QLatin1Char('/'), -1).toStdString();
    const std::string speaker = (program.empty() ? own : program) + ": ";
    std::vector<std::string> found;
    std::istringstream journal(kyb::test::contentOf(macbox::ownFile("journal")));
    for (std::string line; std::getline(journal, line);) {
        if (line.starts_with(speaker + prefix)) {
            found.push_back(line.substr(speaker.size()));
        }
    }
    return found;
}

void InBox::countFromNow() {
    objectsBefore_ = macbox::liveObjects();
}

void InBox::settle() {
    for (int round = 0; round < 2; ++round) { // what one queue ran may have given work to one that was idle before
        macbox::waitForQueues();
        QCoreApplication::processEvents();
    }
}
