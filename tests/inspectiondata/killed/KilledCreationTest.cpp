// Whoever is killed while he makes a project or a further epoch leaves nothing that the next one does not remove.

#include "tests/inspectiondata/Opened.h"

#include "workbench/inspectiondata/check/CheckProject.h"
#include "workbench/inspectiondata/creation/CreateProject.h"
#include "workbench/inspectiondata/creation/EpochAddition.h"

#include <QDir>
#include <QFileInfo>

#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <functional>
#include <iostream>
#include <thread>

namespace {

using namespace inspection;
using Clock = std::chrono::steady_clock;
using Work = std::function<bool(const CreationProgress&)>;

constexpr int kKills = 30;

std::string namesIn(const QString& folder) {
    return QDir(folder)
        .entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot)
        .join(' ')
        .toStdString();
}

/// Does the work in a process of its own and kills that at its `last` report of progress; true when it was so far.
bool killedAtReport(const Work& work, int last) {
    const pid_t process = fork();
    if (process == 0) {
        int report = 0;
        const bool done = work([&](double) {
            if (++report == last) {
                kill(getpid(), SIGKILL);
            }
            return true;
        });
        _exit(done ? 0 : 1);
    }
    int status = 0;
    EXPECT_EQ(waitpid(process, &status, 0), process);
    EXPECT_TRUE(WIFSIGNALED(status) || WEXITSTATUS(status) == 0);
    return WIFSIGNALED(status);
}

void killAfter(const Work& work, Clock::duration time) {
    const pid_t process = fork();
    if (process == 0) {
        _exit(work([](double) { return true; }) ? 0 : 1);
    }
    std::this_thread::sleep_for(time);
    kill(process, SIGKILL);
    EXPECT_EQ(waitpid(process, nullptr, 0), process);
}

Clock::duration timeOf(const Work& work) {
    const auto begin = Clock::now();
    EXPECT_FALSE(killedAtReport(work, 0));
    return Clock::now() - begin;
}

class KilledCreationTest : public testing::Test {
protected:
    static constexpr auto kProject = "made/project";

    bool create(const CreationProgress& progress) const {
        NewProject wish;
        wish.epochs = {{"2024-05-18", m_files.file("old/dsm.tif"), m_files.file("old/dom.tif")},
                       {"2025-05-20", m_files.file("new/dsm.tif"), m_files.file("new/dom.tif")}};
        wish.copiesFiles = true;
        const auto plan = planProject(wish);
        return plan && createProject(m_files.beside(kProject), *plan, progress).has_value();
    }
    bool addEpoch(const CreationProgress& progress) const {
        auto project = Project::open(m_files.folder());
        if (!project) {
            ADD_FAILURE() << project.error().message.toStdString();
            return false;
        }
        const EpochWish wish{
            {"2026-05-25", m_files.file("new/dsm.tif"), m_files.file("new/dom.tif")}, {}, true};
        const auto next = planEpochFor(project->description(), wish);
        auto made = next ? makeEpoch(project->description(), *next, true, progress) : failed(next);
        return made && made->addTo(*project).has_value();
    }
    /// A killed creation is forgotten as soon as there is another one.
    void expectCreationAfterAll() const {
        ASSERT_TRUE(QDir(m_files.beside(kProject)).removeRecursively());
        ASSERT_TRUE(create({}));
        EXPECT_EQ(namesIn(m_files.beside("made")), "project");
        ASSERT_TRUE(QDir(m_files.beside(kProject)).removeRecursively());
    }
    /// The project is as before or has the epoch; adding it, if need be, leaves nothing else.
    void expectAdditionAfterAll() const {
        const bool isAdded = isThere();
        if (!isAdded) {
            ASSERT_TRUE(addEpoch({}));
        }
        EXPECT_TRUE(QFileInfo::exists(m_files.file("epochs/2026-05-25/dsm/dsm.tif")));
        if (!isAdded) {
            EXPECT_EQ(namesIn(m_files.file("epochs")), "2026-05-25");
            EXPECT_EQ(namesIn(m_files.file("epochs/2026-05-25")), "dom dsm");
        }
        auto project = valueOf(Project::open(m_files.folder()));
        EXPECT_TRUE(checkFiles(project));
        ASSERT_TRUE(project.removeEpoch("2026-05-25"));
        ASSERT_TRUE(QDir(m_files.file("epochs")).removeRecursively());
    }
    bool isThere() const {
        const auto project = valueOf(Project::open(m_files.folder(), Project::Access::ReadOnly));
        return project.description().findEpoch("2026-05-25") != nullptr;
    }
    static bool checkFiles(const Project& project) {
        const Epoch* epoch = project.description().findEpoch("2026-05-25");
        return epoch && surveyRaster(epoch->dsm) && surveyRaster(epoch->dom);
    }

    SmallProject m_files;
};

TEST_F(KilledCreationTest, TheNextProjectInThatPlaceRemovesWhatAKilledOneLeft) {
    const Work work = [this](const CreationProgress& progress) { return create(progress); };
    int steps = 0;
    while (killedAtReport(work, steps + 1)) {
        ++steps;
        EXPECT_FALSE(QFileInfo::exists(m_files.beside(kProject)));
        EXPECT_FALSE(namesIn(m_files.beside("made")).empty()) << "something to remove";
        expectCreationAfterAll();
    }
    EXPECT_GT(steps, 3);
    ASSERT_TRUE(QDir(m_files.beside(kProject)).removeRecursively());
    const Clock::duration whole = timeOf(work);
    for (int number = 1; number <= kKills; ++number) {
        ASSERT_TRUE(QDir(m_files.beside(kProject)).removeRecursively());
        killAfter(work, whole * number / kKills);
        expectCreationAfterAll();
    }
    std::cout << steps << " kills at reports, " << kKills << " in between" << std::endl;
}

TEST_F(KilledCreationTest, AnEpochIsAddedWholeOrNotAndTheNextOneRemovesTheRest) {
    const Work work = [this](const CreationProgress& progress) { return addEpoch(progress); };
    int steps = 0;
    while (killedAtReport(work, steps + 1)) {
        ++steps;
        EXPECT_FALSE(isThere());
        EXPECT_TRUE(QFileInfo::exists(m_files.file("epochs/2026-05-25"))) << "something to remove";
        expectAdditionAfterAll();
    }
    EXPECT_GT(steps, 2);
    expectAdditionAfterAll();
    const Clock::duration whole = timeOf(work);
    expectAdditionAfterAll();
    int added = 0;
    for (int number = 1; number <= kKills; ++number) {
        killAfter(work, whole * number / kKills);
        added += isThere() ? 1 : 0;
        expectAdditionAfterAll();
    }
    std::cout << steps << " kills at reports, " << kKills << " in between, " << added << " after the store"
              << std::endl;
    EXPECT_LT(added, kKills);
}

} // namespace
