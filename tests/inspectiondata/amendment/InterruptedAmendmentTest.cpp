// What somebody left in the middle of an amendment is settled by whoever opens the project next.

#include "AmendedProject.h"

#include "workbench/inspectiondata/database/Revision.h"
#include "workbench/inspectiondata/project/PendingProjectFile.h"

#include <QFile>

#include <optional>

namespace {

using namespace inspection;

AmendmentWish shortStations() {
    AmendmentWish wish;
    wish.stations = StationLayout{50.0, 45.0, {}};
    return wish;
}

class InterruptedAmendmentTest : public testing::TestWithParam<DatabaseKind> {
protected:
    QString folder() const { return m_project->description().folder; }
    QString file(const char* name) const { return folder() + '/' + name; }
    std::size_t stations() { return readStations(m_project->sql()).size(); }

    std::optional<JudgedProject> m_project{std::in_place, newProjectDatabase(GetParam())};
};
INSTANTIATE_TEST_SUITE_P(On, InterruptedAmendmentTest, kEachKind, kindName);

TEST_P(InterruptedAmendmentTest, StoredOnesAreCompletedByTheNextOpening) {
    ASSERT_TRUE(QFile::copy(file("project.json"), file("earlier.json")));
    valueOf(m_project->amend(shortStations()));
    const QString line = m_project->description().centerline;
    ASSERT_TRUE(QFile::rename(file("project.json"), file("project.json.next")));
    ASSERT_TRUE(QFile::rename(file("earlier.json"), file("project.json")));
    const auto looked = valueOf(Project::open(folder(), Project::Access::ReadOnly));
    EXPECT_EQ(looked.description().centerline, line);
    EXPECT_TRUE(QFile::exists(file("project.json.next"))) << "who only reads changes nothing";
    const QString kept = folder();
    m_project->close();
    const auto opened = valueOf(Project::open(kept));
    EXPECT_EQ(opened.description().centerline, line);
    EXPECT_FALSE(QFile::exists(kept + "/project.json.next"));
}

TEST_P(InterruptedAmendmentTest, OthersAreForgottenWithTheirLine) {
    ProjectDescription next = m_project->description();
    next.centerline = file("centerline-20261123-050000-000.gpkg");
    ASSERT_TRUE(QFile::copy(file("centerline.gpkg"), next.centerline));
    const DueRevision due{readRevision(m_project->sql()) + 1, inspectorOf(next)};
    ASSERT_TRUE(writePendingProjectFile(next, due));
    const auto looked = valueOf(Project::open(folder(), Project::Access::ReadOnly));
    EXPECT_EQ(looked.description().centerline, file("centerline.gpkg"));
    const QString kept = folder();
    m_project->close();
    const auto opened = valueOf(Project::open(kept));
    EXPECT_EQ(opened.description().centerline, kept + "/centerline.gpkg");
    EXPECT_FALSE(QFile::exists(kept + "/project.json.next"));
    EXPECT_FALSE(QFile::exists(next.centerline));
    EXPECT_TRUE(QFile::exists(opened.description().centerline));
}

TEST_P(InterruptedAmendmentTest, WhatOthersComputedMeanwhileIsNotLost) {
    bool hasComputed = false;
    const Failure failure = failureOf(m_project->amend(shortStations(), [&](double fraction) {
        if (fraction > 0.5 && !hasComputed) { // somebody in another folder, who needs no lock of this one
            hasComputed = true;
            m_project->sql().updateRecord("comparison_result",
                                          {{"computed_at", std::string("2026-11-23T05:00:00Z")}},
                                          "where station_id=?", {std::int64_t{1}});
        }
        return true;
    }));
    EXPECT_TRUE(hasComputed);
    EXPECT_TRUE(failure.userMessage.contains("请重试"));
    EXPECT_EQ(stations(), 2U);
    EXPECT_EQ(m_project->findings(), "");
    valueOf(m_project->amend(shortStations()));
    EXPECT_EQ(stations(), 4U);
}

TEST(LostServerTest, ALostConnectionLeavesTheEarlierProject) {
    const QString url = newProjectDatabase(DatabaseKind::MariaDb);
    JudgedProject project(url);
    const QString line = project.description().centerline;
    bool isCut = false;
    const auto done = project.amend(shortStations(), [&](double fraction) {
        if (fraction >= 1.0 && !isCut) { // inside the transaction
            isCut = true;
            MariaDbServer::instance().killConnections();
        }
        return true;
    });
    EXPECT_TRUE(isCut);
    EXPECT_FALSE(done);
    EXPECT_EQ(project.description().centerline, line);
    EXPECT_EQ(readStations(project.sql()).size(), 2U);
    EXPECT_FALSE(QFile::exists(project.description().folder + "/project.json.next"));
    EXPECT_EQ(project.findings(), "");
    valueOf(project.amend(shortStations()));
    EXPECT_EQ(project.findings(), "");
}

} // namespace
