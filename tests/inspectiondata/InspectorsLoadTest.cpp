// The load of bench_inspectors for a few seconds.

#include "tests/support/InspectorsLoad.h"

#include "tests/inspectiondata/Opened.h"
#include "workbench/inspectiondata/check/CheckProject.h"

namespace {

TEST(InspectorsLoadTest, WhatWasConfirmedIsStoredAndWhatOthersDidIsSeenWhateverTheServerDoes) {
    MariaDbServer::makeDurable();
    MariaDbServer& server = MariaDbServer::instance();
    const OpenedProject opened(server.newDatabase());
    InspectorsLoad load;
    load.inspectors = 4;
    load.editsPerSecond = 80.0;
    load.seconds = 10.0;
    load.secondsBetweenCuts = 0.3;
    load.secondsBetweenCrashes = 4.0;
    load.rows = 100;
    const InspectorsOutcome outcome = runLoad(server, opened.project.description().databaseUrl(), load);
    EXPECT_TRUE(outcome.wrong.isEmpty()) << outcome.wrong.join('\n').toStdString();
    EXPECT_GT(outcome.confirmed, 50);
    EXPECT_GT(outcome.asked, 5);
    EXPECT_GT(outcome.looks, 20);
    EXPECT_GT(outcome.cuts, 5);
    EXPECT_EQ(outcome.crashes, 2);
}

} // namespace
