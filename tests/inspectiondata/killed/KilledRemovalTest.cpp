// Whoever is killed while he removes an epoch leaves project.json and the database in agreement.

#include "tests/inspectiondata/TestDatabase.h"
#include "tests/inspectiondata/ThreeEpochs.h"

#include "tests/support/CopyFolder.h"
#include "workbench/inspectiondata/check/CheckProject.h"
#include "workbench/inspectiondata/compute/EpochRemoval.h"
#include "workbench/inspectiondata/database/ComparisonTable.h"

#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <iostream>
#include <thread>

namespace {

using namespace inspection;
using Clock = std::chrono::steady_clock;

/// A process of its own that opens the project, says so, removes the epoch and ends.
class Remover {
public:
    explicit Remover(const QString& folder) {
        std::array<int, 2> ends{};
        EXPECT_EQ(pipe(ends.data()), 0);
        m_process = fork();
        if (m_process == 0) {
            remove(folder, ends[1]);
        }
        close(ends[1]);
        char opened = 0;
        EXPECT_EQ(read(ends[0], &opened, 1), 1);
        close(ends[0]);
    }
    void killAfter(Clock::duration time) const {
        std::this_thread::sleep_for(time);
        kill(m_process, SIGKILL);
        awaitEnd();
    }
    void awaitEnd() const {
        int status = 0;
        EXPECT_EQ(waitpid(m_process, &status, 0), m_process);
    }

private:
    [[noreturn]] static void remove(const QString& folder, int pipe) noexcept {
        Project project = valueOf(Project::open(folder));
        const auto database = valueOf(PipelineDatabase::open(project.description(), project.access()));
        const char opened = 'o';
        if (write(pipe, &opened, 1) != 1) {
            _exit(1);
        }
        const Status done = removeEpoch(project, *database->GetMySQL(), kThirdPair.newer, Verdicts::Remove);
        _exit(done ? 0 : 1);
    }

    pid_t m_process = 0;
};

/// What a killed process left.
struct Left {
    bool hasResults = false;
    bool hasEpoch = false;
};

Left leftIn(const QString& folder) {
    const auto project = valueOf(Project::open(folder));
    const auto database = valueOf(PipelineDatabase::open(project.description(), project.access()));
    const Findings findings = checkProject(project.description(), *database->GetMySQL());
    EXPECT_TRUE(findings.empty()) << findings.front().line().toStdString();
    return {readComparisons(*database->GetMySQL()).size() > 1,
            project.description().findEpoch(kThirdPair.newer) != nullptr};
}

TEST(KilledRemovalTest, NoEpochIsGoneWhoseResultsAreThere) {
    OpenedProject opened;
    ASSERT_TRUE(opened.project.addEpoch(thirdEpoch(opened.files)));
    valueOf(computeAnomalies(requestFor(opened, kSamplePair)));
    valueOf(computeAnomalies(requestFor(opened, kThirdPair)));
    opened.database.reset();
    const auto copy = [&](int number) {
        const QString folder = opened.files.beside(QString::number(number));
        copyFolder(opened.files.folder(), folder);
        return folder;
    };
    const auto begin = Clock::now();
    Remover(copy(0)).awaitEnd();
    const Clock::duration whole = Clock::now() - begin;
    constexpr int kKills = 40;
    int between = 0;
    int untouched = 0;
    for (int number = 1; number <= kKills; ++number) {
        const QString folder = copy(number);
        Remover(folder).killAfter(whole * number / kKills);
        const Left left = leftIn(folder);
        ASSERT_TRUE(left.hasEpoch || !left.hasResults) << "results of an epoch that is gone";
        untouched += left.hasResults ? 1 : 0;
        between += left.hasEpoch && !left.hasResults ? 1 : 0;
        Remover(folder).awaitEnd(); // can be repeated
        EXPECT_FALSE(leftIn(folder).hasEpoch);
        QDir(folder).removeRecursively();
    }
    std::cout << kKills << " kills: " << untouched << " before the first store, " << between
              << " between the two" << std::endl;
    EXPECT_GT(untouched, 0);
    EXPECT_LT(untouched, kKills);
}

} // namespace
