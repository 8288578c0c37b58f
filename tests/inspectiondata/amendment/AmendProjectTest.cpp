// An existing project gets other stations, another line, other files: what was computed and judged stays.

#include "AmendedProject.h"

#include "tests/support/FullDisk.h"
#include "tests/support/VectorFile.h"
#include "workbench/inspectiondata/database/ComparisonTable.h"
#include "workbench/inspectiondata/database/EditTable.h"
#include "workbench/inspectiondata/pipeline/Pipeline.h"

#include <gdal_priv.h>

#include <QDirIterator>
#include <QFile>

#include <algorithm>
#include <set>

namespace {

using namespace inspection;
using mysqlhelper::KV_Record;

AmendmentWish stationsOf(double lengthMetres, double halfWidthMetres) {
    AmendmentWish wish;
    wish.stations = StationLayout{lengthMetres, halfWidthMetres, {}};
    return wish;
}

bool contains(const KV_Station& station, const SdiffData& anomaly) {
    return anomaly.x >= station.m_xMin && anomaly.x < station.m_xMax && anomaly.y >= station.m_yMin &&
           anomaly.y < station.m_yMax;
}

class AmendProjectTest : public testing::TestWithParam<DatabaseKind> {
protected:
    mysqlhelper::KV_MySQL& sql() { return m_project.sql(); }
    QString folder() const { return m_project.description().folder; }
    std::vector<KV_Station> stations() { return readStations(sql()); }
    QStringList stationNames() {
        QStringList names;
        for (const KV_Station& station : stations()) {
            names << fromGbk(station.m_name);
        }
        return names;
    }
    /// The difference at each anomaly's centroid, by its name, as its station shows it.
    std::map<std::string, double> differences() {
        std::map<std::string, double> differences;
        for (const EpochPair& pair : {kSamplePair, kThirdPair}) {
            for (const KV_Station& station : stations()) {
                for (const SdiffData& anomaly : readAnomalies(sql(), station.m_id, pair)) {
                    const auto result = readStationResult(sql(), station.m_id, pair);
                    EXPECT_TRUE(result) << anomaly.name;
                    const auto raster = result ? differenceAt(result->dzRaster, anomaly) : 0.0;
                    differences[anomaly.name] = raster;
                }
            }
        }
        return differences;
    }
    double differenceAt(const QString& raster, const SdiffData& anomaly) {
        const GDALDatasetUniquePtr file(
            GDALDataset::Open((folder() + '/' + raster).toUtf8().constData(), GDAL_OF_RASTER));
        EXPECT_TRUE(file) << raster.toStdString();
        std::array<double, 6> grid{};
        file->GetGeoTransform(grid.data());
        float value = 0.0F;
        EXPECT_EQ(file->GetRasterBand(1)->RasterIO(GF_Read, int((anomaly.x - grid[0]) / grid[1]),
                                                   int((anomaly.y - grid[3]) / grid[5]), 1, 1, &value, 1, 1,
                                                   GDT_Float32, 0, 0, nullptr),
                  CE_None);
        return double{value};
    }
    void expectEachAnomalyInItsStation() {
        for (const KV_Station& station : stations()) {
            for (const EpochPair& pair : {kSamplePair, kThirdPair}) {
                for (const SdiffData& anomaly : readAnomalies(sql(), station.m_id, pair)) {
                    EXPECT_TRUE(contains(station, anomaly)) << anomaly.name;
                }
            }
        }
    }
    std::set<QString> files() const {
        std::set<QString> all;
        QDirIterator walk(folder(), QDir::Files | QDir::Hidden, QDirIterator::Subdirectories);
        while (walk.hasNext()) {
            const QString file = walk.next();
            if (!file.contains("inspection.db")) {
                all.insert(QDir(folder()).relativeFilePath(file));
            }
        }
        return all;
    }
    QByteArray json() const {
        QFile file(folder() + "/project.json");
        EXPECT_TRUE(file.open(QIODevice::ReadOnly));
        return file.readAll();
    }
    AmendmentEffect amended(const AmendmentWish& wish) {
        const auto before = m_project.anomalies();
        EXPECT_EQ(m_project.findings(), "");
        const AmendmentEffect effect = valueOf(m_project.amend(wish));
        EXPECT_EQ(m_project.anomalies(), before);
        EXPECT_EQ(m_project.findings(), "");
        EXPECT_EQ(files().count("project.json.next"), 0U);
        return effect;
    }

    JudgedProject m_project{newProjectDatabase(GetParam())};
};
INSTANTIATE_TEST_SUITE_P(On, AmendProjectTest, kEachKind, kindName);

TEST_P(AmendProjectTest, OtherStationsTakeAnomaliesVerdictsAndResultsOfEveryPair) {
    const auto before = differences();
    const AmendmentEffect effect = amended(stationsOf(50.0, 45.0));
    EXPECT_EQ(effect.stationsBefore, 2);
    EXPECT_EQ(effect.stationsAfter, 4);
    EXPECT_EQ(effect.anomalies, 6);
    EXPECT_EQ(effect.moved, 6);
    EXPECT_EQ(effect.outside, 0);
    EXPECT_EQ(effect.partly, 0);
    EXPECT_EQ(stationNames(),
              (QStringList{"K0+000—K0+050", "K0+050—K0+100", "K0+100—K0+150", "K0+150—K0+200"}));
    EXPECT_EQ(stations().front().m_id, 3U) << "the numbers of stations are used once";
    expectEachAnomalyInItsStation();
    EXPECT_EQ(differences(), before);
    for (const EpochPair& pair : {kSamplePair, kThirdPair}) {
        for (const KV_Station& station : stations()) {
            const auto result = readStationResult(sql(), station.m_id, pair);
            ASSERT_TRUE(result);
            EXPECT_GT(result->cells, 0);
        }
    }
}

TEST_P(AmendProjectTest, EditsAreUndoneAndRedoneUnderOtherStations) {
    amended(stationsOf(50.0, 45.0));
    m_project.takeHistory();
    const auto judged = m_project.anomalies();
    m_project.history.TakeUndo()->Undo(true);
    expectEachAnomalyInItsStation();
    EXPECT_EQ(m_project.anomalies().size(), judged.size() + 1) << "the deleted one is back";
    EXPECT_EQ(m_project.findings(), "");
    m_project.history.UndoSteps(2);
    for (const auto& row : m_project.anomalies()) {
        EXPECT_TRUE(std::get<std::string>(row.second.at("attribute")).empty());
    }
    EXPECT_EQ(m_project.findings(), "");
    for (int step = 0; step < 3; ++step) {
        ASSERT_TRUE(m_project.history.CanRedo());
        m_project.history.TakeRedo()->Redo(true);
    }
    EXPECT_EQ(m_project.findings(), "");
    amended(stationsOf(80.0, 45.0));
    m_project.takeHistory();
    m_project.history.UndoSteps(3);
    expectEachAnomalyInItsStation();
    EXPECT_EQ(m_project.findings(), "");
}

TEST_P(AmendProjectTest, WhatNoStationHoldsStaysInItsEarlierOne) {
    const auto before = differences();
    const AmendmentEffect narrow = amended(stationsOf(50.0, 20.0));
    EXPECT_GT(narrow.outside, 0);
    EXPECT_LT(narrow.outside, narrow.anomalies);
    EXPECT_EQ(narrow.moved + narrow.outside, narrow.anomalies);
    EXPECT_TRUE(stationNames().contains("站段外 一号站")) << stationNames().join(' ').toStdString();
    expectEachAnomalyInItsStation();
    EXPECT_EQ(differences(), before);
    amended(stationsOf(60.0, 20.0));
    EXPECT_FALSE(stationNames().contains("站段外 站段外 一号站"));
    const AmendmentEffect wide = amended(stationsOf(50.0, 45.0));
    EXPECT_EQ(wide.outside, 0);
    EXPECT_FALSE(stationNames().join(' ').contains("站段外"));
    EXPECT_EQ(differences(), before);
    m_project.takeHistory();
    m_project.history.UndoSteps(3);
    EXPECT_EQ(m_project.findings(), "");
}

TEST_P(AmendProjectTest, ComputingAgainUnderOtherStationsKeepsVerdicts) {
    amended(stationsOf(50.0, 45.0));
    valueOf(computeAnomalies(requestFor(m_project.opened, kSamplePair)));
    EXPECT_EQ(m_project.findings(), "");
    std::set<std::string> verdicts;
    for (const auto& row : m_project.anomalies()) {
        verdicts.insert(std::get<std::string>(row.second.at("attribute")));
    }
    EXPECT_EQ(verdicts, (std::set<std::string>{"", toGbk("塌陷"), toGbk("深挖")}));
}

TEST_P(AmendProjectTest, StationsThatStayTheSameKeepTheirNumbersAndRasters) {
    amended(stationsOf(50.0, 45.0));
    const auto before = stations();
    const auto rasters = files();
    AmendmentWish wish;
    wish.centerline = CenterlineSource{m_project.description().centerline, "centerline"};
    wish.centerline->startMetres = 12500.0;
    const AmendmentEffect effect = amended(wish);
    EXPECT_EQ(effect.moved, 0);
    ASSERT_EQ(stations().size(), before.size());
    EXPECT_EQ(stations().back().m_id, before.back().m_id);
    EXPECT_EQ(stationNames().front(), "K12+500—K12+550");
    EXPECT_EQ(files().size(), rasters.size()) << "one line in the place of another";
    EXPECT_NEAR(Pipeline::read(m_project.description()).positionOf({500050, 3400052})->chainageMetres,
                12550.0, 1e-6);
}

TEST_P(AmendProjectTest, AnotherLineBringsItsChainagesAndPosts) {
    writeBytes(m_project.opened.files.beside("line.csv"), "x,y\n500200,3400050\n500000,3400050\n");
    writeBytes(m_project.opened.files.beside("posts.csv"),
               "name,km,x,y\nK10,10,500200,3400050\nK11,11,500000,3400050\n");
    AmendmentWish wish;
    wish.centerline = CenterlineSource{m_project.opened.files.beside("line.csv")};
    wish.centerline->posts = m_project.opened.files.beside("posts.csv");
    wish.stations = StationLayout{250.0, 60.0, {}};
    amended(wish);
    EXPECT_EQ(stationNames(),
              (QStringList{"K10+000—K10+250", "K10+250—K10+500", "K10+500—K10+750", "K10+750—K11+000"}));
    EXPECT_EQ(sql().queryRecord("select id from pipe_node").size(), 2U);
    const auto line = valueOf(projectLine(m_project.description()));
    ASSERT_TRUE(line);
    EXPECT_EQ(line->posts.size(), 2U);
    EXPECT_NEAR(line->vertices.back().chainageMetres, 11000.0, 1e-6);
    EXPECT_DOUBLE_EQ(layoutOf(stations(), line).lengthMetres, 250.0);
}

TEST_P(AmendProjectTest, WithoutALineTheOverlapIsDivided) {
    AmendmentWish wish;
    wish.dropsCenterline = true;
    const AmendmentEffect effect = amended(wish);
    EXPECT_EQ(effect.stationsAfter, 1);
    EXPECT_TRUE(Pipeline::read(m_project.description()).parts().empty());
    EXPECT_TRUE(sql().queryRecord("select id from pipe_node").empty());
    AmendmentWish back;
    writeBytes(m_project.opened.files.beside("line.csv"), "x,y\n500000,3400040\n500200,3400040\n");
    back.centerline = CenterlineSource{m_project.opened.files.beside("line.csv")};
    back.stations = StationLayout{100.0, 45.0, {}};
    EXPECT_EQ(amended(back).stationsAfter, 2);
}

TEST_P(AmendProjectTest, GroundThatWasNeverComputedIsSaid) {
    AmendmentWish first;
    first.stations = StationLayout{0.0, 0.0, m_project.opened.files.beside("west.csv")};
    writeBytes(m_project.opened.files.beside("west.csv"),
               "name,wkt\n西,\"POLYGON ((500000 3400000,500060 3400000,500060 3400080,500000 3400080,500000 "
               "3400000))\"\n");
    amended(first);
    const AmendmentEffect effect = amended(stationsOf(200.0, 45.0));
    EXPECT_EQ(effect.stationsAfter, 1);
    EXPECT_GT(effect.partly, 0);
}

TEST_P(AmendProjectTest, AnEpochWithoutADateKeepsItsResultsUnderItsNewFile) {
    Project& project = m_project.opened.project;
    ProjectDescription nameless = project.description();
    nameless.epochs[2].date.clear();
    sql().updateRecord("comparison", {{"new_epoch", toGbk("third/dsm.tif")}}, "where new_epoch=?",
                       {toGbk(kThirdPair.newer)});
    nameless.compared = EpochPair{kThirdPair.older, "third/dsm.tif"};
    ASSERT_TRUE(project.setDescription(nameless));
    ASSERT_EQ(m_project.findings(), "");
    const QString moved = m_project.opened.files.beside("moved.tif");
    ASSERT_TRUE(QFile::rename(nameless.epochs[2].dsm, moved));
    AmendmentWish wish;
    wish.epochs = {{"third/dsm.tif", moved}};
    valueOf(m_project.amend(wish));
    EXPECT_EQ(m_project.findings(), "");
    EXPECT_EQ(project.description().pair().newer, moved);
    EXPECT_EQ(countAnomalies(sql(), project.description().pair()).size(), 2U);
}

TEST_P(AmendProjectTest, HeightsThatAreToldAreKeptOrConverted) {
    AmendmentWish wish;
    wish.epochs = {{"2024-05-18", {}, {}, "EPSG:5773"}};
    amended(wish);
    EXPECT_EQ(m_project.description().epochs[0].heights, "EPSG:5773");
    wish.epochs = {{"2024-05-18", {}, {}, "nonsense"}};
    EXPECT_TRUE(failureOf(m_project.amend(wish)).userMessage.contains("高程系统"));
    wish.epochs = {{"2024-05-18", {}, {}, ""}};
    amended(wish);
    EXPECT_TRUE(m_project.description().epochs[0].heights.isEmpty());
}

TEST_P(AmendProjectTest, WhatCannotBeUsedIsNamedAndNothingChanges) {
    const QByteArray before = json();
    const auto expectRefusal = [&](const AmendmentWish& wish, const char* mentions) {
        const Failure failure = failureOf(m_project.amend(wish));
        EXPECT_TRUE(failure.userMessage.contains(mentions)) << failure.userMessage.toStdString();
        EXPECT_EQ(json(), before);
    };
    AmendmentWish wish;
    wish.epochs = {{"1999-01-01", m_project.opened.files.file("old/dsm.tif")}};
    expectRefusal(wish, "没有期次 1999-01-01");
    wish.epochs = {{"2024-05-18", m_project.opened.files.beside("nowhere.tif")}};
    expectRefusal(wish, "nowhere.tif：文件不存在");
    wish.epochs = {{"2024-05-18", m_project.opened.files.file("old/dom.tif")}};
    expectRefusal(wish, "不是表面模型");
    SmallProject::writeHeights(m_project.opened.files.beside("far.tif"), SmallProject::oldHeight, 4549);
    wish.epochs = {{"2024-05-18", m_project.opened.files.beside("far.tif")}};
    expectRefusal(wish, "不在项目的任何站段内");
    wish = {};
    wish.name = "  ";
    expectRefusal(wish, "项目名称");
    wish = {};
    wish.centerline = CenterlineSource{m_project.opened.files.beside("line.kml")};
    expectRefusal(wish, "line.kml");
}

TEST_P(AmendProjectTest, AStopOrAFullDiskLeavesEverythingAsItWas) {
    const auto before = files();
    const QByteArray text = json();
    const auto names = stationNames();
    int calls = 0;
    valueOf(JudgedProject(newProjectDatabase(GetParam())).amend(stationsOf(50.0, 45.0), [&](double) {
        return ++calls > 0;
    }));
    for (int last = 0; last < calls; ++last) {
        int call = 0;
        const Failure failure =
            failureOf(m_project.amend(stationsOf(50.0, 45.0), [&](double) { return call++ < last; }));
        EXPECT_TRUE(failure.cancelled);
        ASSERT_EQ(files(), before);
        ASSERT_EQ(json(), text);
        ASSERT_EQ(stationNames(), names);
    }
    {
        const FullDisk full;
        EXPECT_FALSE(m_project.amend(stationsOf(50.0, 45.0)));
    }
    EXPECT_EQ(files(), before);
    EXPECT_EQ(stationNames(), names);
    EXPECT_EQ(m_project.findings(), "");
    amended(stationsOf(50.0, 45.0));
}

} // namespace
