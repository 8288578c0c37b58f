// Whoever is killed while he lays out stations anew leaves the earlier project or the new one, each whole.

#include "tests/inspectiondata/amendment/AmendedProject.h"

#include "tests/support/CopyFolder.h"

#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <iostream>
#include <thread>

namespace {

using namespace inspection;
using Clock = std::chrono::steady_clock;

/// A process of its own that opens the project, says so, lays out the stations and ends.
class Amender {
public:
    explicit Amender(const QString& folder) {
        std::array<int, 2> ends{};
        EXPECT_EQ(pipe(ends.data()), 0);
        m_process = fork();
        if (m_process == 0) {
            amend(folder, ends[1]);
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
    int awaitEnd() const {
        int status = 0;
        EXPECT_EQ(waitpid(m_process, &status, 0), m_process);
        return status;
    }

private:
    [[noreturn]] static void amend(const QString& folder, int pipe) noexcept {
        Project project = valueOf(Project::open(folder));
        const auto database = valueOf(PipelineDatabase::open(project.description(), project.access()));
        const char opened = 'o';
        if (write(pipe, &opened, 1) != 1) {
            _exit(1);
        }
        AmendmentWish wish;
        wish.stations = StationLayout{50.0, 45.0, {}};
        auto plan = valueOf(planAmendment(project.description(), readStations(*database->GetMySQL()), wish));
        _exit(amendProject(project, *database->GetMySQL(), std::move(plan)) ? 0 : 1);
    }

    pid_t m_process = 0;
};

/// What a killed process left.
struct Left {
    bool isNew = false;
    bool isPending = false;
};

Left leftIn(const QString& folder, std::size_t anomalies) {
    const bool isPending = QFile::exists(folder + "/project.json.next");
    const auto project = valueOf(Project::open(folder));
    const auto database = valueOf(PipelineDatabase::open(project.description(), project.access()));
    const Findings findings = checkProject(project.description(), *database->GetMySQL());
    EXPECT_TRUE(findings.empty()) << findings.front().line().toStdString();
    EXPECT_EQ(database->GetMySQL()->queryRecord("select id from anomaly").size(), anomalies);
    const std::size_t stations = readStations(*database->GetMySQL()).size();
    const bool isNew = !project.description().centerline.endsWith("/centerline.gpkg");
    EXPECT_EQ(stations, isNew ? 4U : 2U) << "line and stations belong together";
    EXPECT_TRUE(QFile::exists(project.description().centerline));
    EXPECT_FALSE(QFile::exists(folder + "/project.json.next"));
    ProjectHistory history;
    history.setDatabase(database->GetMySQL(), inspectorOf(project.description()));
    history.UndoSteps(3);
    EXPECT_EQ(database->GetMySQL()->queryRecord("select id from anomaly").size(), anomalies + 1);
    return {isNew, isPending};
}

class KilledAmendmentTest : public testing::TestWithParam<DatabaseKind> {
protected:
    /// A project with verdicts that nobody has open.
    QString closedProject() {
        if (GetParam() == DatabaseKind::Sqlite && m_projects.size() == 1) {
            const QString folder = m_projects[0]->opened.files.beside(QString::number(++m_copies));
            copyFolder(m_projects[0]->opened.files.folder(), folder);
            return folder;
        }
        m_projects.push_back(std::make_unique<JudgedProject>(newProjectDatabase(GetParam())));
        m_anomalies = m_projects.back()->anomalies().size();
        m_projects.back()->close();
        return m_projects.back()->opened.files.folder();
    }

    std::vector<std::unique_ptr<JudgedProject>> m_projects;
    std::size_t m_anomalies = 0;
    int m_copies = 0;
};
INSTANTIATE_TEST_SUITE_P(On, KilledAmendmentTest, kEachKind, kindName);

TEST_P(KilledAmendmentTest, LineStationsAndVerdictsAreWholeWheneverItComes) {
    const QString first = closedProject();
    const QString measured = GetParam() == DatabaseKind::Sqlite ? closedProject() : first;
    const auto begin = Clock::now();
    EXPECT_EQ(Amender(measured).awaitEnd(), 0);
    const Clock::duration whole = Clock::now() - begin;
    const int kills = GetParam() == DatabaseKind::Sqlite ? 60 : 12;
    int done = 0;
    int pending = 0;
    for (int number = 1; number <= kills && !HasFailure(); ++number) {
        const QString folder = closedProject();
        Amender(folder).killAfter(whole * number * 4 /
                                  (3 * kills)); // the first run had to read its files from the disk
        const Left left = leftIn(folder, m_anomalies);
        done += left.isNew ? 1 : 0;
        pending += left.isPending ? 1 : 0;
    }
    std::cout << kills << " kills, " << done << " of them after the work was stored, " << pending
              << " with a project.json to settle" << std::endl;
    EXPECT_LT(done, kills);
}

} // namespace
