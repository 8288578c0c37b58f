#include "tests/support/SmallProject.h"
#include "tests/support/VectorFile.h"
#include "tests/support/WaitUntil.h"
#include "workbench/inspection/creation/ConfirmPage.h"
#include "workbench/inspection/creation/ProjectDraft.h"

#include <gtest/gtest.h>

#include <QDir>

namespace {

using namespace inspection;

/// Over the rasters of a small project: 200 m x 80 m.
class PlanReadingTest : public testing::Test {
protected:
    PlanReadingTest() {
        m_wish.epochs = {{{}, m_files.file("new/dsm.tif"), {}}, {{}, m_files.file("old/dsm.tif"), {}}};
    }
    QString lines(const QString& name, const std::vector<VectorLayer>& layers) const {
        writeVectorFile(m_files.beside(name), "GPKG", layers);
        return m_files.beside(name);
    }
    static VectorLayer layer(const QString& name, const QString& wkt) {
        VectorLayer made;
        made.name = name;
        made.epsg = 4547;
        made.rows = {{wkt}};
        return made;
    }
    void takeLine(const QString& wkt) {
        m_wish.centerline = CenterlineSource{lines("line.gpkg", {layer("line", wkt)})};
    }

    SmallProject m_files;
    NewProject m_wish;
};

constexpr auto kThrough = "LINESTRING (499900 3400040,500300 3400040)";

TEST_F(PlanReadingTest, AWholeWishHasAllStepsAndAPicture) {
    takeLine(kThrough);
    const PlanReading reading = readPlan(m_wish, {});
    EXPECT_EQ(reading.epochProblem + reading.pipelineProblem + reading.stationProblem, QString());
    EXPECT_EQ(reading.epochs.size(), 2U);
    EXPECT_EQ(reading.epochs[0].reference, "EPSG:4547");
    EXPECT_EQ(reading.epochs[0].cell, "0.5 m");
    EXPECT_FALSE(reading.stations.empty());
    EXPECT_EQ(reading.sketch.epochs.size(), 2U);
    EXPECT_EQ(reading.sketch.line.size(), 2);
    EXPECT_EQ(reading.sketch.stations.size(), reading.stations.size());
    EXPECT_DOUBLE_EQ(reading.sketch.overlap.width(), 200.0);
}

TEST_F(PlanReadingTest, OneEpochIsAProblemButHasAPictureAlready) {
    m_wish.epochs.pop_back();
    const PlanReading reading = readPlan(m_wish, {});
    EXPECT_TRUE(reading.epochProblem.contains("两期"));
    ASSERT_EQ(reading.sketch.epochs.size(), 1U);
    EXPECT_DOUBLE_EQ(reading.sketch.epochs[0].box.width(), 200.0);
}

TEST_F(PlanReadingTest, EachProblemStandsWhereItArises) {
    NewProject broken = m_wish;
    broken.epochs[1].surface = m_files.beside("nowhere.tif");
    PlanReading reading = readPlan(broken, {});
    EXPECT_TRUE(reading.epochProblem.contains("nowhere.tif"));
    EXPECT_TRUE(reading.epochs[1].problem.contains("nowhere.tif"));

    takeLine("MULTILINESTRING ((500000 3400040,500050 3400040),(500090 3400040,500150 3400040))");
    reading = readPlan(m_wish, {});
    EXPECT_EQ(reading.epochProblem, QString());
    EXPECT_TRUE(reading.pipelineProblem.contains("间隙")) << reading.pipelineProblem.toStdString();

    QFile::remove(m_files.beside("line.gpkg"));
    takeLine("LINESTRING (520000 3400000,530000 3400000)");
    reading = readPlan(m_wish, {});
    EXPECT_EQ(reading.pipelineProblem, QString());
    EXPECT_TRUE(reading.stationProblem.contains("km")) << reading.stationProblem.toStdString();
    EXPECT_EQ(reading.sketch.line.size(), 2) << "the user sees how far away it lies";
}

TEST_F(PlanReadingTest, OfSeveralLayersTheOneThatIsCalledCentreLineIsTaken) {
    m_wish.centerline = CenterlineSource{lines(
        "lines.gpkg", {layer("roads", kThrough), layer("管道中心线", kThrough), layer("rivers", kThrough)})};
    const PlanReading reading = readPlan(m_wish, {});
    EXPECT_EQ(reading.lineLayers, QStringList({"roads", "管道中心线", "rivers"}));
    EXPECT_EQ(reading.wish.centerline->layer, QStringLiteral("管道中心线"));
    EXPECT_TRUE(reading.centerline.has_value());
}

TEST_F(PlanReadingTest, OfLayersThatCouldAllBeTheLineTheUserIsAsked) {
    m_wish.centerline = CenterlineSource{lines("lines.gpkg", {layer("a", kThrough), layer("b", kThrough)})};
    const PlanReading reading = readPlan(m_wish, {});
    EXPECT_EQ(reading.lineLayers, QStringList({"a", "b"}));
    EXPECT_TRUE(reading.pipelineProblem.contains("多个图层"));
}

TEST_F(PlanReadingTest, TheNameIsThatOfTheLineOrOfTheFolderAroundTheEpochs) {
    EXPECT_EQ(suggestedName(readPlan(m_wish, {})), QFileInfo(m_files.folder()).fileName());
    VectorLayer named = layer("line", kThrough);
    named.columns = {"name"};
    named.rows = {{kThrough, "西气东输"}};
    m_wish.centerline = CenterlineSource{lines("named.gpkg", {named})};
    EXPECT_EQ(suggestedName(readPlan(m_wish, {})), QStringLiteral("西气东输"));
}

TEST_F(PlanReadingTest, ATakenFolderGetsANumberAndForbiddenSignsGo) {
    const QString documents = m_files.beside("documents");
    ASSERT_TRUE(QDir().mkpath(documents + "/管道/in it"));
    EXPECT_EQ(suggestedFolder(documents, "管道"), documents + "/管道-2");
    EXPECT_EQ(suggestedFolder(documents, "a/b:c"), documents + "/a_b_c");
    EXPECT_EQ(suggestedFolder(documents, ".."), documents + "/_");
}

TEST_F(PlanReadingTest, OfManyChangesTheNewestIsRead) {
    ProjectDraft draft;
    takeLine(kThrough);
    draft.change([this](NewProject& wish) { wish = m_wish; });
    for (const double metres : {40.0, 60.0, 100.0}) {
        draft.change([metres](NewProject& wish) { wish.stations.lengthMetres = metres; });
    }
    EXPECT_TRUE(draft.isReading()) << "nothing is read on the GUI thread";
    EXPECT_TRUE(draft.reading().epochs.empty());
    ASSERT_TRUE(waitUntil([&] { return !draft.isReading(); }));
    EXPECT_DOUBLE_EQ(draft.reading().wish.stations.lengthMetres, 100.0);
    ASSERT_GT(draft.reading().stations.size(), 1U);
    EXPECT_DOUBLE_EQ(draft.reading().stations[1].endMetres - draft.reading().stations[1].startMetres, 100.0);
}

TEST_F(PlanReadingTest, WhatTheUserHasAddedDuringAReadIsKept) {
    ProjectDraft draft;
    draft.addEpochs({m_files.file("old/dsm.tif"), m_files.file("old/dom.tif")});
    draft.addEpochs({m_files.file("new/dsm.tif"), m_files.file("old/dsm.tif")});
    QObject::connect(&draft, &ProjectDraft::changed, [&] { // also when the first of the two reads has ended
        EXPECT_EQ(draft.wish().epochs.back().surface, m_files.file("new/dsm.tif"));
    });
    ASSERT_TRUE(waitUntil([&] { return !draft.isReading(); }));
    ASSERT_EQ(draft.wish().epochs.size(), 2U);
    EXPECT_EQ(draft.wish().epochs[0].picture, m_files.file("old/dom.tif"));
    EXPECT_EQ(draft.wish().epochs[1].surface, m_files.file("new/dsm.tif"));
}

} // namespace
