#include "workbench/inspection/session/JobRunner.h"
#include "tests/support/WaitUntil.h"
#include "workbench/inspection/context/ProgressWidget.h"

#include <gtest/gtest.h>

#include <QProgressBar>
#include <QPushButton>
#include <QTest>

#include <condition_variable>
#include <mutex>

namespace {

using inspection::JobRunner;
using inspection::ProgressWidget;

/// Work that goes on until it is told to stop, or stopped.
JobRunner::Work endlessWork(std::atomic<bool>& sawCancel) {
    return [&sawCancel](const JobRunner::Progress& progress) -> JobRunner::Outcome {
        while (progress(0.5, "step")) {
            std::this_thread::yield();
        }
        sawCancel = true;
        return {};
    };
}

TEST(JobRunner, RunsTheWorkElsewhereAndTheOutcomeHere) {
    JobRunner jobs;
    const auto here = std::this_thread::get_id();
    std::thread::id workThread;
    std::thread::id outcomeThread;
    bool over = false;
    ASSERT_TRUE(jobs.start("work", [&](const JobRunner::Progress&) {
        workThread = std::this_thread::get_id();
        return [&] {
            outcomeThread = std::this_thread::get_id();
            EXPECT_FALSE(jobs.isRunning()) << "an outcome may start other work";
            over = true;
        };
    }));
    EXPECT_TRUE(jobs.isRunning());
    ASSERT_TRUE(::waitUntil([&] { return over; }));
    EXPECT_NE(workThread, here);
    EXPECT_EQ(outcomeThread, here);
}

TEST(JobRunner, RefusesASecondJobWhileOneRuns) {
    JobRunner jobs;
    std::atomic<bool> sawCancel = false;
    ASSERT_TRUE(jobs.start("first", endlessWork(sawCancel)));
    EXPECT_FALSE(jobs.start("second", endlessWork(sawCancel)));
    EXPECT_EQ(jobs.title(), "first");
    jobs.cancel();
    ASSERT_TRUE(::waitUntil([&] { return !jobs.isRunning(); }));
    EXPECT_TRUE(sawCancel);
}

TEST(JobRunner, ShuttingDownJoinsAndDropsTheOutcome) {
    bool outcome = false;
    {
        JobRunner jobs;
        ASSERT_TRUE(jobs.start("work", [&](const JobRunner::Progress& progress) -> JobRunner::Outcome {
            while (progress(0.1, QString())) {
                std::this_thread::yield();
            }
            return [&outcome] { outcome = true; };
        }));
    }
    QCoreApplication::processEvents();
    EXPECT_FALSE(outcome);
}

TEST(ProgressWidget, IsHiddenWhenIdleShowsStepsAndCancels) {
    JobRunner jobs;
    ProgressWidget widget(jobs);
    EXPECT_TRUE(widget.isHidden());
    std::atomic<bool> sawCancel = false;
    ASSERT_TRUE(jobs.start("计算", endlessWork(sawCancel)));
    EXPECT_FALSE(widget.isHidden());
    auto* bar = widget.findChild<QProgressBar*>("jobProgressBar");
    ASSERT_TRUE(::waitUntil([&] { return bar->value() == 500; }));
    QTest::mouseClick(widget.findChild<QPushButton*>("jobCancel"), Qt::LeftButton);
    EXPECT_FALSE(widget.findChild<QPushButton*>("jobCancel")->isEnabled());
    ASSERT_TRUE(::waitUntil([&] { return !jobs.isRunning(); }));
    EXPECT_TRUE(widget.isHidden());
}

} // namespace
