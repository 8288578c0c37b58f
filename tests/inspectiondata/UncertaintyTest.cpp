// What detection knows of its own uncertainty, from the rasters to table, account, report, shape and check.

#include "Opened.h"
#include "TestDatabase.h"

#include "host/Gbk.h"
#include "workbench/inspectiondata/check/CheckProject.h"
#include "workbench/inspectiondata/database/AnomalyTable.h"
#include "workbench/inspectiondata/database/DetectionAccount.h"
#include "workbench/inspectiondata/database/Histogram.h"
#include "workbench/inspectiondata/database/Inspector.h"
#include "workbench/inspectiondata/history/ProjectHistory.h"
#include "workbench/inspectiondata/output/InspectionData.h"
#include "workbench/inspectiondata/output/Report.h"
#include "workbench/inspectiondata/output/ShapeOutput.h"
#include "workbench/inspectiondata/text/AnomalyFields.h"
#include "workbench/inspectiondata/text/AnomalyTexts.h"
#include "workbench/inspectiondata/text/CoregistrationText.h"

#include <QDir>
#include <QFile>

#include <ogrsf_frmts.h>

#include <cmath>
#include <numeric>

namespace {

using namespace inspection;
using detect::CoregistrationMethod;
using mysqlhelper::KV_MySQL;

constexpr double kNoiseMetres = 0.05;

/// Of a cell, between -1 and 1, always the same.
double noise(int column, int row) {
    const double mixed = std::sin(column * 12.9898 + row * 78.233) * 43758.5453;
    return 2.0 * (mixed - std::floor(mixed)) - 1.0;
}

/// A small project whose new epoch is noisy, besides its changes.
class UncertaintyTest : public testing::TestWithParam<DatabaseKind> {
protected:
    UncertaintyTest() {
        writeNewEpoch([](int column, int row) {
            return SmallProject::newHeight(column, row) + kNoiseMetres * noise(column, row);
        });
    }

    void writeNewEpoch(const std::function<double(int, int)>& metres) {
        SmallProject::writeHeights(m_opened.files.file("new/dsm.tif"), metres);
    }
    KV_MySQL& sql() { return m_opened.sql(); }
    const ProjectDescription& description() const { return m_opened.project.description(); }
    void set(const std::function<void(ProjectParameters&)>& change) {
        ProjectParameters parameters = description().parameters;
        change(parameters);
        ASSERT_TRUE(m_opened.project.setParameters(parameters).has_value());
    }
    void compute(std::vector<std::uint32_t> stations = {}) {
        ComputationRequest request = m_opened.request();
        request.stationIds = std::move(stations);
        valueOf(computeAnomalies(request));
    }
    std::vector<SdiffData> anomalies() {
        std::vector<SdiffData> all;
        for (const std::uint32_t station : {1, 2}) {
            const auto some = readAnomalies(sql(), station, kSamplePair);
            all.insert(all.end(), some.begin(), some.end());
        }
        return all;
    }
    DetectionAccount account() { return readDetectionAccount(description(), sql()).value(); }
    InspectionData data() { return valueOf(readInspectionData(description(), sql())); }
    QStringList findings() {
        QStringList lines;
        for (const Finding& finding : checkProject(description(), sql())) {
            lines << finding.line();
        }
        return lines;
    }
    QString report() {
        const QString file = m_opened.files.beside("report.html");
        EXPECT_TRUE(writeReport({data(), {}}, file).has_value());
        QFile html(file);
        EXPECT_TRUE(html.open(QIODevice::ReadOnly));
        return QString::fromUtf8(html.readAll());
    }
    /// The engine's own anomalies of the whole pair.
    detect::Changes engineSays() const {
        detect::Request request;
        request.oldRaster = description().oldEpoch().dsm.toStdString();
        request.newRaster = description().newEpoch().dsm.toStdString();
        request.parameters = description().parameters.detection();
        return *detect::detectChanges(request);
    }

    OpenedProject m_opened{newProjectDatabase(GetParam())};
};
INSTANTIATE_TEST_SUITE_P(On, UncertaintyTest, kEachKind, kindName);

TEST_P(UncertaintyTest, TheRecordSaysWhatTheEngineSays) {
    compute();
    const auto stored = anomalies();
    const detect::Changes changes = engineSays();
    ASSERT_EQ(stored.size(), 3U);
    for (const SdiffData& anomaly : stored) {
        const auto same =
            std::find_if(changes.anomalies.begin(), changes.anomalies.end(), [&](const auto& each) {
                return std::hypot(each.centroid.x - anomaly.x, each.centroid.y - anomaly.y) < 0.01;
            });
        ASSERT_NE(same, changes.anomalies.end()) << anomaly.name;
        EXPECT_GT(*anomaly.volumeSigmaCubicMetres, 0.0);
        EXPECT_NEAR(*anomaly.volumeSigmaCubicMetres, same->volumeSigmaCubicMetres, 1e-9);
        EXPECT_NEAR(*anomaly.sigmaMetres, same->sigmaMetres, 1e-9);
        EXPECT_NEAR(*anomaly.levelOfDetectionMetres, same->levelOfDetectionMetres, 1e-9);
        EXPECT_NEAR(*anomaly.significance, same->significance, 1e-9);
        EXPECT_NEAR(*anomaly.suggestionConfidence, same->suggestionConfidence, 1e-9);
        EXPECT_TRUE(isSignificant(anomaly));
    }
    EXPECT_EQ(findings(), QStringList());
}

TEST_P(UncertaintyTest, ADeletedAnomalyComesBackWithIt) {
    compute();
    const SdiffData before = anomalies().at(0);
    ProjectHistory history;
    history.setDatabase(&sql(), inspectorOf(description()));
    ASSERT_TRUE(history.perform(
        "删除", [&](EditTransaction& edit) { edit.remove(kAnomalyTable, before.id, before.version); }));
    ASSERT_EQ(anomalies().size(), 2U);
    history.TakeUndo()->Undo(true);
    const SdiffData after = anomalies().at(0);
    EXPECT_EQ(after.volumeSigmaCubicMetres, before.volumeSigmaCubicMetres);
    EXPECT_EQ(after.suggestionConfidence, before.suggestionConfidence);
    EXPECT_EQ(findings(), QStringList());
}

TEST_P(UncertaintyTest, ShapesTellItAndLeaveOpenWhatIsNotKnown) {
    compute();
    sql().execute("update anomaly set vol_sd_m3=null, sigma_m=null, lod_m=null, signif=null, sugg_conf=null "
                  "where id=?",
                  {anomalies().at(2).id});
    const auto stored = anomalies();
    EXPECT_FALSE(stored[2].significance);
    EXPECT_EQ(findings(), QStringList()) << "a value that lacks is nothing wrong";
    const QString folder = m_opened.files.beside("shape");
    ASSERT_TRUE(writeShapes(data(), folder).has_value());
    for (const QString& name : {folder + "/anomalies.shp", folder + "/corridor.gpkg"}) {
        const GDALDatasetUniquePtr file(GDALDataset::Open(name.toUtf8().constData(), GDAL_OF_VECTOR));
        ASSERT_TRUE(file) << name.toStdString();
        OGRLayer* layer = file->GetLayerByName("anomalies");
        for (const SdiffData& anomaly : stored) {
            layer->SetAttributeFilter(("name = '" + anomaly.name + "'").c_str());
            const OGRFeatureUniquePtr feature(layer->GetNextFeature());
            ASSERT_TRUE(feature);
            for (const AnomalyField& field : kAnomalyFields) {
                if (!field.mayLack()) {
                    continue;
                }
                const auto known = anomaly.*std::get<std::optional<double> SdiffData::*>(field.member);
                const int place = feature->GetFieldIndex(field.name);
                ASSERT_GE(place, 0) << field.name;
                EXPECT_EQ(feature->IsFieldSetAndNotNull(place) != 0, known.has_value()) << field.name;
                EXPECT_NEAR(feature->GetFieldAsDouble(place), known.value_or(0.0), 1e-6) << field.name;
            }
        }
    }
}

TEST_P(UncertaintyTest, EveryRuleOfItIsChecked) {
    compute();
    const auto expectFinding = [this](const char* table, const char* change, const QString& problem) {
        const auto row = readRow(sql(), table, 1).value();
        sql().execute(std::string("update ") + table + " set " + change + " where id=1");
        EXPECT_TRUE(findings().join('\n').contains(problem)) << findings().join('\n').toStdString();
        sql().updateRecord(table, row, "where id=1");
    };
    expectFinding("anomaly", "vol_sd_m3=-1", "vol_sd_m3 为负");
    expectFinding("anomaly", "signif=-1", "signif 为负");
    expectFinding("anomaly", "sugg_conf=1.5", "sugg_conf 1.5 超出范围 0 到 1");
    expectFinding("comparison_result", "summary='{}'", "comparison_result 1：summary 无法读取");
    expectFinding("comparison_result", "stable_dz='x'", "comparison_result 1：stable_dz 无法读取");
    QFile noRaster(m_opened.files.file("no.tif"));
    ASSERT_TRUE(noRaster.open(QIODevice::WriteOnly));
    expectFinding("comparison_result", "correction_raster='no.tif'",
                  "comparison_result 1：correction_raster no.tif");
    EXPECT_EQ(findings(), QStringList());
}

TEST_P(UncertaintyTest, TheAccountIsThatOfTheLatestComputation) {
    compute();
    const DetectionAccount whole = account();
    EXPECT_EQ(whole.stations, 2);
    EXPECT_EQ(whole.coregistration.method, CoregistrationMethod::Bias);
    EXPECT_GT(whole.coregistration.nmadAfterMetres, 0.0);
    EXPECT_EQ(whole.parameters.thresholdMetres, description().parameters.thresholdMetres);
    EXPECT_EQ(whole.correctionRaster, QString());
    sql().execute("update comparison_result set computed_at='2020-01-01T00:00:00Z' where station_id=2");
    EXPECT_EQ(account().stations, 1);
    sql().execute("update comparison_result set summary=null");
    EXPECT_FALSE(readDetectionAccount(description(), sql()));
}

TEST_P(UncertaintyTest, TheHistogramHoldsTheGroundOutsideTheAnomalies) {
    compute({1});
    const StationResult result = readStationResult(sql(), 1, kSamplePair).value();
    const Histogram& histogram = result.stableDifferences.value();
    const auto counted = std::accumulate(histogram.counts.begin(), histogram.counts.end(), std::int64_t{0});
    const double cell = SmallProject::kCellMetres * SmallProject::kCellMetres;
    double changed = 0.0; // station 1 is searched with a margin that holds all of the small project
    for (const KnownChange& change : SmallProject::changes()) {
        changed += change.areaSquareMetres() / cell;
    }
    EXPECT_NEAR(static_cast<double>(counted), static_cast<double>(result.cells) - changed, 0.1 * changed);
    const auto middle = histogram.counts[histogram.counts.size() / 2];
    EXPECT_GT(middle, 0);
    EXPECT_NEAR(histogram.fromMetres + histogram.stepMetres * double(histogram.counts.size()),
                -histogram.fromMetres, 1e-9);
    EXPECT_GT(-histogram.fromMetres, kNoiseMetres);
}

TEST_P(UncertaintyTest, WhyAShiftWasRefusedIsKept) {
    const auto flat = [](int column, int row) {
        const double change = column >= 40 && column < 64 && row >= 40 && row < 60 ? 3.0 : 0.0;
        return 50.0 + change;
    };
    SmallProject::writeHeights(m_opened.files.file("old/dsm.tif"), [](int, int) { return 50.0; });
    writeNewEpoch([&](int column, int row) { return flat(column, row) + kNoiseMetres * noise(column, row); });
    set([](ProjectParameters& parameters) { parameters.coregistration = CoregistrationMethod::Full; });
    compute();
    const std::string refusal = account().coregistration.refusal;
    ASSERT_FALSE(refusal.empty());
    EXPECT_TRUE(coregistrationLine(account().coregistration).contains(QString::fromStdString(refusal)));
    EXPECT_TRUE(report().contains(QString::fromStdString(refusal)));
    EXPECT_EQ(findings(), QStringList());
}

TEST_P(UncertaintyTest, AutomaticCoregistrationSaysWhyAndWhatTheRulesTurnedAway) {
    set([](ProjectParameters& parameters) {
        parameters.coregistration = CoregistrationMethod::Auto;
        parameters.minAreaSquareMetres = 100.0;
    });
    compute();
    EXPECT_FALSE(account().coregistration.reason.empty());
    EXPECT_EQ(account().rejections.area, 1) << "the smallest change, once though both stations are near it";
    const QString text = report();
    EXPECT_TRUE(text.contains(QString::fromStdString(account().coregistration.reason)));
    EXPECT_TRUE(text.contains("面积过小 1"));
    EXPECT_TRUE(text.contains(" ± "));
}

TEST_P(UncertaintyTest, TheLocalFieldIsKeptAsLongAsItsResult) {
    writeNewEpoch([](int column, int row) {
        return SmallProject::newHeight(column, row) + 0.4 * std::sin(column / 45.0) +
               0.02 * noise(column, row);
    });
    set([](ProjectParameters& parameters) { parameters.coregistration = CoregistrationMethod::Local; });
    compute();
    const DetectionAccount local = account();
    EXPECT_EQ(local.coregistration.method, CoregistrationMethod::Local);
    EXPECT_GT(local.coregistration.local.largestMetres, 0.2);
    ASSERT_TRUE(QFile::exists(local.correctionRaster)) << local.correctionRaster.toStdString();
    EXPECT_EQ(findings(), QStringList());
    set([](ProjectParameters& parameters) { parameters.coregistration = CoregistrationMethod::Bias; });
    compute();
    EXPECT_FALSE(QFile::exists(local.correctionRaster));
    EXPECT_EQ(account().correctionRaster, QString());
}

TEST_P(UncertaintyTest, GroundThatScattersMoreThanTheThresholdIsDoubted) {
    set([](ProjectParameters& parameters) { parameters.thresholdMetres = 0.02; });
    compute();
    const auto doubt = doubtOf(account().coregistration.nmadAfterMetres, account().parameters);
    ASSERT_TRUE(doubt);
    EXPECT_TRUE(report().contains(*doubt));
    detect::Parameters careful = account().parameters;
    careful.significance.emplace();
    EXPECT_FALSE(doubtOf(account().coregistration.nmadAfterMetres, careful));
    careful.significance.reset();
    careful.thresholdMetres = 0.5;
    EXPECT_FALSE(doubtOf(account().coregistration.nmadAfterMetres, careful));
}

TEST(HistogramText, CountsThatNoSurveyHasAreRefusedBeforeTheyAreAddedUp) {
    const auto read = [](const std::string& counts) {
        return readHistogram(R"({"from_m":-0.1,"step_m":0.01,"counts":[)" + counts + "]}");
    };
    auto most = read("3,1000000000000000");
    ASSERT_TRUE(most);
    add(*most, *most);
    EXPECT_EQ(most->counts, (std::vector<std::int64_t>{6, 2'000'000'000'000'000}));
    EXPECT_FALSE(read("3,5e18"));
    EXPECT_FALSE(read("3,-1"));
    EXPECT_FALSE(read("3,\"4\""));
}

TEST(VolumeTextTest, HasTheDigitsThatItsUncertaintyAllows) {
    EXPECT_EQ(figureText(18.34, 0.93), "18.3 ± 0.9");
    EXPECT_EQ(figureText(1234.5, 12.3), "1,235 ± 12") << "half goes up";
    EXPECT_EQ(figureText(5.123, 0.012), "5.12 ± 0.01");
    SdiffData anomaly;
    anomaly.fillCubicMetres = 18.34;
    EXPECT_EQ(volumeText(anomaly), "18.3");
    EXPECT_FALSE(isSignificant(anomaly));
    anomaly.volumeSigmaCubicMetres = 9.3;
    EXPECT_EQ(volumeText(anomaly), "18.3 ± 9.3");
    EXPECT_TRUE(isSignificant(anomaly));
    anomaly.volumeSigmaCubicMetres = 9.4;
    EXPECT_FALSE(isSignificant(anomaly));
}

} // namespace
