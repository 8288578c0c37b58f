// Whoever is killed in the middle of an edit has stored it wholly or not at all.

#include "KilledEditor.h"

#include "tests/inspectiondata/Opened.h"
#include "tests/inspectiondata/TestDatabase.h"

#include "host/Gbk.h"
#include "workbench/inspectiondata/check/CheckProject.h"
#include "workbench/inspectiondata/database/EditTable.h"
#include "workbench/inspectiondata/database/Inspector.h"

#include <QDeadlineTimer>

#include <iostream>

namespace {

using namespace inspection;
using mysqlhelper::KV_MySQL;

constexpr unsigned kSeed = 20240518;

/// What the database holds.
struct Stored {
    PointsModel::Points points;
    std::size_t undoable = 0;
    std::size_t redoable = 0;

    bool is(const PointsModel& model) const {
        return points == model.points() && undoable == model.undoable() && redoable == model.redoable();
    }
};

Stored storedIn(const ProjectDescription& project, KV_MySQL& database) {
    Stored stored;
    for (const auto& row : database.queryRecord("select name, attribute from special_point")) {
        stored.points[gbkToUtf8(std::get<std::string>(row.at("name")))] =
            gbkToUtf8(std::get<std::string>(row.at("attribute")));
    }
    for (const StoredEdit& edit : readEdits(database, inspectorOf(project))) {
        ++(edit.isUndone ? stored.redoable : stored.undoable);
    }
    return stored;
}

class KilledEditsTest : public testing::TestWithParam<DatabaseKind> {
protected:
    KilledEditsTest() { openedProject(m_files.folder(), newProjectDatabase(GetParam())); }

    /// Steps from the model's state on, and the model after each.
    void plan() {
        m_steps.clear();
        m_models.resize(1);
        constexpr std::size_t kSteps = 30;
        while (m_steps.size() < kSteps) {
            m_steps.push_back(m_models.back().randomStep(m_random));
            m_models.push_back(m_models.back());
            m_models.back().take(m_steps.back());
        }
    }
    /// Kills somebody at his edits, opens the project again and looks what is there.
    void killOnce() {
        plan();
        constexpr unsigned kMostAwaited = 6;
        const KilledEditor killed =
            killedEditor(m_files.folder(), m_steps, 1 + m_random() % kMostAwaited, m_random);
        if (GetParam() == DatabaseKind::MariaDb) {
            waitUntilTheServerHasNoticed();
        }
        const auto project = valueOf(Project::open(m_files.folder()));
        const auto database = valueOf(PipelineDatabase::open(project.description(), project.access()));
        const Stored stored = storedIn(project.description(), *database->GetMySQL());
        const bool isNext = killed.wasInside && stored.is(m_models.at(killed.confirmed + 1));
        ASSERT_TRUE(isNext || stored.is(m_models.at(killed.confirmed)))
            << stored.points.size() << " points, " << stored.undoable << " edits, " << stored.redoable
            << " undone; inside: " << killed.wasInside;
        const Findings findings = checkProject(project.description(), *database->GetMySQL());
        ASSERT_TRUE(findings.empty()) << findings.front().line().toStdString();
        m_models = {m_models[killed.confirmed + (isNext ? 1 : 0)]};
        m_inside += killed.wasInside ? 1 : 0;
        m_storedUnconfirmed += isNext ? 1 : 0;
        m_confirmed += killed.confirmed;
    }
    /// It may be completing what it was told last.
    static void waitUntilTheServerHasNoticed() {
        const QDeadlineTimer deadline(20000);
        while (!MariaDbServer::instance()
                    .run("select id from information_schema.processlist where id<>connection_id() and "
                         "user='root'")
                    .isEmpty()) {
            ASSERT_FALSE(deadline.hasExpired());
        }
    }

    SmallProject m_files;
    std::mt19937 m_random{kSeed};
    std::vector<PointsStep> m_steps;
    std::vector<PointsModel> m_models{PointsModel()}; ///< before the first step and after each
    int m_inside = 0;
    int m_storedUnconfirmed = 0;
    std::size_t m_confirmed = 0;
};
INSTANTIATE_TEST_SUITE_P(On, KilledEditsTest, kEachKind, kindName);

TEST_P(KilledEditsTest, EveryConfirmedStepIsThereAndNoneIsHalfDone) {
    const int kills = GetParam() == DatabaseKind::Sqlite ? 200 : 20;
    std::cout << "seed " << kSeed << std::endl;
    for (int i = 0; i < kills && !HasFatalFailure(); ++i) {
        SCOPED_TRACE("kill " + std::to_string(i + 1));
        killOnce();
    }
    std::cout << kills << " kills, " << m_inside << " of them inside a step, of which " << m_storedUnconfirmed
              << " was stored; " << m_confirmed << " steps confirmed" << std::endl;
    EXPECT_GT(m_inside, 0);
    EXPECT_GT(m_confirmed, static_cast<std::size_t>(kills));
}

} // namespace
