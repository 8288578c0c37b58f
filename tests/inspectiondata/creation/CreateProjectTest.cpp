#include "../Opened.h"
#include "tests/support/FullDisk.h"
#include "tests/support/VectorFile.h"

#include "workbench/inspectiondata/creation/CreateProject.h"
#include "workbench/inspectiondata/database/StationTable.h"
#include "workbench/inspectiondata/pipeline/Pipeline.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <gdal_priv.h>
#include <gdal_utils.h>

namespace {

using namespace inspection;

/// Projects made of the rasters of a small one.
class CreateProjectTest : public testing::Test {
protected:
    CreateProjectTest() {
        VectorLayer lines;
        lines.epsg = 4547;
        lines.columns = {"name"};
        lines.rows = {{"LINESTRING Z (500000 3400040 5,500120 3400040 6,500200 3400040 7)", "西线 \"1\""}};
        writeVectorFile(m_files.beside("line.gpkg"), "GPKG", {lines});
        m_wish.epochs = {{"2024-05-18", m_files.file("old/dsm.tif"), m_files.file("old/dom.tif")},
                         {"2025-05-20", m_files.file("new/dsm.tif"), {}}};
        m_wish.centerline = CenterlineSource{m_files.beside("line.gpkg")};
        m_wish.centerline->startMetres = 3000.0;
        m_wish.stations = {100.0, 50.0, {}};
    }

    QString folder() const { return m_files.beside("新 '工程' \"1\""); }
    Result<CreatedProject> create(const CreationProgress& progress = {}) const {
        return createProject(folder(), valueOf(planProject(m_wish)), progress);
    }
    /// What lies beside the project, hidden folders included.
    QStringList beside() const {
        return QDir(QFileInfo(folder()).absolutePath())
            .entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot);
    }
    /// That the work fails and nothing is left of it.
    Failure expectNothingLeft(const CreationProgress& progress = {}) const {
        const QStringList before = beside();
        const Failure failure = failureOf(create(progress));
        EXPECT_EQ(beside(), before);
        return failure;
    }

    /// A folder with the newer surface model in two tiles, made with these options of gdal_translate.
    QString tilesOfTheNewEpoch(const QByteArray& options) const {
        const QString folder = m_files.beside("tiles");
        EXPECT_TRUE(QDir().mkpath(folder));
        for (const char* window : {"0 0 200 160", "200 0 200 160"}) {
            const QByteArray text = options + " -srcwin " + window;
            const CPLStringList arguments(CSLTokenizeString2(text.constData(), " ", 0), TRUE);
            GDALTranslateOptions* parsed =
                GDALTranslateOptionsNew(const_cast<char**>(arguments.List()), nullptr);
            GDALDatasetH whole = GDALOpen(m_files.file("new/dsm.tif").toUtf8().constData(), GA_ReadOnly);
            const QString tile = folder + QStringLiteral("/%1.tif").arg(window[0]);
            GDALClose(GDALTranslate(tile.toUtf8().constData(), whole, parsed, nullptr));
            GDALTranslateOptionsFree(parsed);
            GDALClose(whole);
        }
        return folder;
    }

    SmallProject m_files;
    NewProject m_wish;
};

TEST_F(CreateProjectTest, CanBeComputedAndKnowsChainageAndDistance) {
    const auto created = valueOf(create());
    const ProjectDescription& project = created.project.description();
    EXPECT_EQ(project.name, QStringLiteral("西线 \"1\""));
    EXPECT_EQ(project.oldEpoch().dsm, m_files.file("old/dsm.tif"));
    EXPECT_EQ(project.oldEpoch().dom, m_files.file("old/dom.tif"));
    const auto database = valueOf(PipelineDatabase::open(project, Project::Access::Exclusive));
    const auto stations = readStations(*database->GetMySQL());
    ASSERT_EQ(stations.size(), 2U);
    EXPECT_DOUBLE_EQ(stations[1].m_startMetres, 3100.0);
    ComputationRequest request;
    request.project = project;
    EXPECT_EQ(valueOf(computeAnomalies(request)).anomalies, 3);
    const auto position = Pipeline::read(project).positionOf({500150, 3400052});
    ASSERT_TRUE(position.has_value());
    EXPECT_NEAR(position->chainageMetres, 3150.0, 1e-6);
    EXPECT_NEAR(position->offsetMetres, 12.0, 1e-6);
}

TEST_F(CreateProjectTest, ChainagesByPostsSurviveTheFile) {
    writeBytes(m_files.beside("posts.csv"), "name,km,x,y\nK10,10,500000,3400040\nK11,11,500200,3400040\n");
    m_wish.centerline->posts = m_files.beside("posts.csv");
    const auto created = valueOf(create());
    const auto position = Pipeline::read(created.project.description()).positionOf({500050, 3400040});
    EXPECT_NEAR(position->chainageMetres, 10250.0, 1e-6);
    const auto database =
        valueOf(PipelineDatabase::open(created.project.description(), Project::Access::Exclusive));
    EXPECT_EQ(database->GetMySQL()->queryRecord("select id from pipe_node").size(), 2U);
}

TEST_F(CreateProjectTest, HeightsThatAreToldAreKept) {
    m_wish.epochs[0].heights = "EPSG:5773";
    const auto created = valueOf(create());
    const auto read = valueOf(Project::open(folder(), Project::Access::ReadOnly));
    EXPECT_EQ(read.description().epochs[0].heights, "EPSG:5773");
    EXPECT_TRUE(read.description().epochs[1].heights.isEmpty());
}

TEST_F(CreateProjectTest, EveryLayerOfTheCentreLineFileReadsWithGdal) {
    const auto created = valueOf(create());
    const GDALDatasetUniquePtr file(
        GDALDataset::Open(created.project.description().centerline.toUtf8().constData(), GDAL_OF_VECTOR));
    ASSERT_TRUE(file);
    ASSERT_EQ(file->GetLayerCount(), 3);
    for (OGRLayer* layer : file->GetLayers()) {
        ASSERT_TRUE(layer->GetSpatialRef());
        EXPECT_STREQ(layer->GetSpatialRef()->GetAuthorityCode(nullptr), "4547");
    }
    const OGRFeatureUniquePtr line(file->GetLayerByName("centerline")->GetNextFeature());
    const OGRLineString* geometry = line->GetGeometryRef()->toLineString();
    EXPECT_DOUBLE_EQ(geometry->getZ(0), 5.0);
    EXPECT_DOUBLE_EQ(geometry->getM(2), 3200.0);
}

TEST_F(CreateProjectTest, TilesBecomeOneVirtualRaster) {
    m_wish.epochs[1].surface = tilesOfTheNewEpoch("-a_nodata -9999");
    const auto created = valueOf(create());
    EXPECT_EQ(created.project.description().newEpoch().dsm, folder() + "/epochs/2025-05-20/dsm.vrt");
    const auto database =
        valueOf(PipelineDatabase::open(created.project.description(), Project::Access::Exclusive));
    ComputationRequest request;
    request.project = created.project.description();
    EXPECT_EQ(valueOf(computeAnomalies(request)).anomalies, 3);
}

TEST_F(CreateProjectTest, TilesThatDoNotTellTheirHolesBecomeOneRasterThatEverybodyReads) {
    m_wish.epochs[1].surface = tilesOfTheNewEpoch("-a_nodata none");
    const auto created = valueOf(create());
    const QString dsm = created.project.description().newEpoch().dsm;
    EXPECT_EQ(dsm, folder() + "/epochs/2025-05-20/dsm.tif");
    const GDALDatasetUniquePtr raster(GDALDataset::Open(dsm.toUtf8().constData(), GDAL_OF_RASTER));
    ASSERT_TRUE(raster);
    const CPLStringList files(raster->GetFileList(), TRUE);
    EXPECT_EQ(files.Count(), 1) << "it refers to nothing";
    float height = 0.0F;
    ASSERT_EQ(raster->GetRasterBand(1)->RasterIO(GF_Read, 300, 100, 1, 1, &height, 1, 1, GDT_Float32, 0, 0,
                                                 nullptr),
              CE_None);
    EXPECT_NEAR(height, SmallProject::newHeight(300, 100), 1e-3);
}

TEST_F(CreateProjectTest, CopiesComeIntoTheFolderWithWhatBelongsToThem) {
    m_wish.copiesFiles = true;
    writeBytes(m_files.file("old/dsm.tif.aux.xml"), "<PAMDataset></PAMDataset>");
    double last = 0.0;
    {
        const auto created = valueOf(create([&last](double fraction) {
            EXPECT_GE(fraction, last);
            last = fraction;
            return true;
        }));
        const Epoch& old = created.project.description().oldEpoch();
        EXPECT_EQ(old.dsm, folder() + "/epochs/2024-05-18/dsm/dsm.tif");
        EXPECT_EQ(old.dom, folder() + "/epochs/2024-05-18/dom/dom.tif");
        EXPECT_TRUE(QFileInfo::exists(old.dsm + ".aux.xml"));
    }
    EXPECT_DOUBLE_EQ(last, 1.0);
    const QString moved = m_files.beside("moved");
    ASSERT_TRUE(QDir().rename(folder(), moved)); // it needs nothing from outside
    const auto project = valueOf(Project::open(moved, Project::Access::ReadOnly));
    EXPECT_TRUE(QFileInfo::exists(project.description().newEpoch().dsm));
}

TEST_F(CreateProjectTest, ObjectsComeInTheSameGo) {
    writeBytes(m_files.beside("points.csv"), "name,lon,lat\n阀室,114.001,30.7\n,999,0\n");
    m_wish.objects = {{m_files.beside("points.csv"), KV_SPECIAL_POINT, {}, {}}};
    const auto created = valueOf(create());
    ASSERT_EQ(created.imports.size(), 1U);
    EXPECT_EQ(created.imports[0].stored, 1);
    EXPECT_EQ(created.imports[0].refusals.size(), 1);
    const auto database =
        valueOf(PipelineDatabase::open(created.project.description(), Project::Access::Exclusive));
    EXPECT_EQ(readSpecialPoints(*database->GetMySQL()).size(), 1U);
}

TEST_F(CreateProjectTest, ObjectsThatCannotBeReadLeaveNoProject) {
    m_wish.objects = {{m_files.beside("missing.csv"), KV_SPECIAL_POINT, {}, {}}};
    EXPECT_TRUE(expectNothingLeft().userMessage.contains("missing.csv"));
}

TEST_F(CreateProjectTest, AFolderThatHoldsSomethingIsLeftAlone) {
    ASSERT_TRUE(QDir().mkpath(folder()));
    writeBytes(folder() + "/.hidden", "mine");
    EXPECT_TRUE(expectNothingLeft().userMessage.contains("不是空的"));
    EXPECT_EQ(QDir(folder()).entryList(QDir::Files | QDir::Hidden), QStringList{".hidden"});
    ASSERT_TRUE(QFile::remove(folder() + "/.hidden"));
    valueOf(create()); // an empty one is taken
}

TEST_F(CreateProjectTest, AFileInPlaceOfTheFolderIsLeftAlone) {
    writeBytes(folder(), "mine");
    EXPECT_TRUE(expectNothingLeft().userMessage.contains("是文件"));
}

TEST_F(CreateProjectTest, FoldersAboveAreMade) {
    const auto created = createProject(folder() + "/2025/工程", valueOf(planProject(m_wish)));
    EXPECT_TRUE(created.has_value());
}

TEST_F(CreateProjectTest, OnAFullDiskNothingIsLeft) {
    const auto plan = valueOf(planProject(m_wish));
    const QStringList before = beside();
    {
        const FullDisk full;
        EXPECT_FALSE(createProject(folder(), plan).has_value());
    }
    EXPECT_EQ(beside(), before);
}

TEST_F(CreateProjectTest, AStopLeavesNothingWheneverItComes) {
    m_wish.copiesFiles = true;
    m_wish.objects = {{m_files.beside("points.csv"), KV_SPECIAL_POINT, {}, {}}};
    writeBytes(m_files.beside("points.csv"), "name,lon,lat\n阀室,114.001,30.7\n");
    int steps = 0;
    const auto count = [&steps](double) { return ++steps > 0; };
    valueOf(create(count));
    ASSERT_TRUE(QDir(folder()).removeRecursively());
    for (int last = steps; last > 0; --last) {
        int step = 0;
        EXPECT_TRUE(expectNothingLeft([&](double) { return ++step < last; }).cancelled) << last;
    }
}

} // namespace
