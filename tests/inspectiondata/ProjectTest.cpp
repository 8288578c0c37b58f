#include "Opened.h"
#include "tests/support/FullDisk.h"

#include "detect/output/ParameterTable.h"
#include "workbench/inspectiondata/creation/CreateProject.h"
#include "workbench/inspectiondata/database/StationTable.h"
#include "workbench/inspectiondata/project/ProjectFile.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

namespace {

using namespace inspection;

void write(const QString& name, const QByteArray& text) {
    QFile file(name);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write(text);
}

QByteArray read(const QString& name) {
    QFile file(name);
    EXPECT_TRUE(file.open(QIODevice::ReadOnly)) << name.toStdString();
    return file.readAll();
}

TEST(ProjectTest, OpensWithEpochsOldestFirstAndAbsolutePaths) {
    const SmallProject files;
    const auto project = valueOf(Project::open(files.folder()));
    const ProjectDescription& description = project.description();
    EXPECT_EQ(description.name, QStringLiteral("试验管道"));
    EXPECT_EQ(description.oldEpoch().date, "2024-05-18");
    EXPECT_EQ(description.newEpoch().dsm, files.file("new/dsm.tif"));
    EXPECT_EQ(description.centerline, files.file("centerline.gpkg"));
}

/// Another value than the field has.
struct Changed {
    detect::Parameters& parameters;

    void operator()(const detect::NumberParameter& number) const {
        number.set(parameters,
                   number.value(parameters).value_or(number.least) + 2.0 * number.step <= number.most
                       ? number.value(parameters).value_or(number.least) + 2.0 * number.step
                       : number.least);
    }
    void operator()(const detect::SwitchParameter& choice) const {
        choice.of(parameters) = !choice.value(parameters);
    }
    void operator()(const detect::MethodParameter& /*method*/) const {
        parameters.coregistration = detect::CoregistrationMethod::Local;
    }
};

TEST(ProjectTest, EveryParameterOfDetectionIsStored) {
    const SmallProject files;
    for (const detect::ParameterField& field : detect::parameterFields()) {
        auto project = valueOf(Project::open(files.folder()));
        ProjectParameters parameters;
        parameters.significance.emplace(); // that its standard deviations can be given
        const detect::Parameters usual = parameters;
        std::visit(Changed{parameters}, field.kind);
        detect::completeSigmas(parameters);
        ASSERT_FALSE(detect::haveSameFields(usual, parameters)) << field.name;
        ASSERT_TRUE(project.setParameters(parameters).has_value());
        EXPECT_EQ(valueOf(readProjectFile(files.folder())).parameters, parameters) << field.name;
    }
}

TEST(ProjectTest, WithoutAMethodAProjectMeansTheBiasAndANewOneTheAutomaticOne) {
    const SmallProject files;
    EXPECT_EQ(valueOf(Project::open(files.folder())).description().parameters.coregistration,
              detect::CoregistrationMethod::Bias);
    EXPECT_EQ(ProjectParameters().coregistration, detect::CoregistrationMethod::Auto);
}

TEST(ProjectTest, AValueThatAFieldCannotHaveIsRefusedByName) {
    const SmallProject files;
    const QByteArray text = read(files.file("project.json"));
    const struct {
        const char* given;
        const char* named;
    } cases[] = {{R"("parameters": {"threshold_m": -3})", "parameters.threshold_m"},
                 {R"("parameters": {"threshold_m": "0.8"})", "parameters.threshold_m"},
                 {R"("parameters": {"core": "no"})", "parameters.core"},
                 {R"("parameters": {"coregistration": 1})", "parameters.coregistration"},
                 {R"("parameters": {"fill_colour": 7})", "parameters.fill_colour"},
                 {R"("parameters": {"overlay_mode": 2})", "parameters.overlay_mode"},
                 {R"("parameters": [])", "parameters"},
                 {R"("compare": ["2024-05-18", 2025])", "compare"},
                 {R"("database": 3)", "database"},
                 {R"("centerline": "line\u0000.gpkg")", "centerline"},
                 {R"("base_layers": [{"source": "a\u0001b.tif"}])", "base_layers[0].source"}};
    for (const auto& [given, named] : cases) {
        QByteArray changed = text;
        write(files.file("project.json"), changed.replace("\"remark\"", given + QByteArray(", \"remark\"")));
        const Failure failure = failureOf(Project::open(files.folder()));
        EXPECT_TRUE(failure.message.contains('"' + QString(named) + '"')) << failure.message.toStdString();
        EXPECT_TRUE(failure.userMessage.contains(named)) << failure.userMessage.toStdString();
    }
}

TEST(ProjectTest, AnEpochWithoutASurfaceIsRefusedAndNotLeftOut) {
    const SmallProject files;
    const QByteArray text = read(files.file("project.json"));
    for (const char* epoch : {R"({"date": "2023-05-18", "dsm": ""})", R"({"date": "2023-05-18", "dsm": 7})",
                              R"({"date": "2023-05-18"})", R"("2023-05-18")"}) {
        QJsonObject json = QJsonDocument::fromJson(text).object();
        QJsonArray epochs = json["epochs"].toArray();
        epochs.prepend(QJsonDocument::fromJson('[' + QByteArray(epoch) + ']').array().first());
        json["epochs"] = epochs;
        write(files.file("project.json"), QJsonDocument(json).toJson());
        const Failure failure = failureOf(Project::open(files.folder()));
        EXPECT_TRUE(failure.message.contains("epochs[0].dsm")) << epoch << failure.message.toStdString();
    }
}

TEST(ProjectTest, OnlyWholeVersionsThatAreKnownAreRead) {
    const SmallProject files;
    for (const char* version : {"3000000000", "1.5", "\"9\"", "0", "-1", "true", "null", "2"}) {
        QJsonObject json = QJsonDocument::fromJson(read(files.file("project.json"))).object();
        json["version"] = QJsonDocument::fromJson('[' + QByteArray(version) + ']').array().first();
        write(files.file("project.json"), QJsonDocument(json).toJson());
        EXPECT_TRUE(failureOf(Project::open(files.folder())).message.contains("version")) << version;
    }
}

TEST(ProjectTest, ParametersAreStoredAndForeignKeysAreKept) {
    const SmallProject files;
    {
        auto project = valueOf(Project::open(files.folder()));
        ProjectParameters parameters = project.description().parameters;
        parameters.thresholdMetres = 0.8;
        parameters.minAreaSquareMetres = 9.0;
        parameters.coregistration = detect::CoregistrationMethod::Full;
        parameters.fillColour = QColor(1, 2, 3);
        parameters.overlayMode = OverlayMode::Bounds;
        EXPECT_TRUE(project.setParameters(parameters).has_value());
        EXPECT_EQ(project.description().parameters, parameters);
    }
    const auto again = valueOf(Project::open(files.folder()));
    EXPECT_DOUBLE_EQ(again.description().parameters.thresholdMetres, 0.8);
    EXPECT_EQ(again.description().parameters.coregistration, detect::CoregistrationMethod::Full);
    EXPECT_EQ(again.description().parameters.fillColour, QColor(1, 2, 3));
    EXPECT_EQ(again.description().parameters.overlayMode, OverlayMode::Bounds);
    const QJsonObject json = QJsonDocument::fromJson(read(files.file("project.json"))).object();
    EXPECT_EQ(json["remark"].toString(), "kept");
}

TEST(ProjectTest, TheDatabaseIsInspectionDbUnlessTheFileNamesAnother) {
    const SmallProject files;
    const auto storedDatabase = [&] {
        return QJsonDocument::fromJson(read(files.file("project.json"))).object().value("database");
    };
    const struct {
        QString given;
        QString url;
        QString file;
        QJsonValue stored;
    } cases[] = {
        {"other.db", files.file("other.db"), files.file("other.db"), "other.db"},
        {files.file("inspection.db"), files.file("inspection.db"), files.file("inspection.db"),
         QJsonValue::Undefined},
        {"/data/x.db", "/data/x.db", "/data/x.db", "/data/x.db"},
        {"mysql://u:p@h/d", "mysql://u:p@h/d", "", "mysql://u:p@h/d"},
        {"inspection.db", files.file("inspection.db"), files.file("inspection.db"), QJsonValue::Undefined}};
    EXPECT_EQ(valueOf(Project::open(files.folder())).description().databaseUrl(),
              files.file("inspection.db"));
    for (const auto& [given, url, file, stored] : cases) {
        {
            auto project = valueOf(Project::open(files.folder()));
            ASSERT_TRUE(project.setDatabase(given).has_value());
            ASSERT_TRUE(project.setParameters({}).has_value());
        }
        const auto again = valueOf(Project::open(files.folder()));
        EXPECT_EQ(again.description().databaseUrl(), url);
        EXPECT_EQ(again.description().databaseFile(), file);
        EXPECT_EQ(storedDatabase(), stored);
    }
}

TEST(ProjectTest, OnAFullDiskTheParametersStayAsTheyWere) {
    const SmallProject files;
    auto project = valueOf(Project::open(files.folder()));
    const QByteArray before = read(files.file("project.json"));
    ProjectParameters parameters = project.description().parameters;
    parameters.thresholdMetres = 0.8;
    {
        const FullDisk full;
        EXPECT_FALSE(project.setParameters(parameters).has_value());
    }
    EXPECT_EQ(read(files.file("project.json")), before);
}

TEST(ProjectTest, ASecondWriterIsToldAndAReaderIsNot) {
    const SmallProject files;
    {
        const auto first = valueOf(Project::open(files.folder()));
        const Failure failure = failureOf(Project::open(files.folder()));
        EXPECT_TRUE(failure.message.contains(files.folder())) << failure.message.toStdString();
        EXPECT_TRUE(failure.message.contains("already open"));
        valueOf(Project::open(files.folder(), Project::Access::ReadOnly));
    }
    valueOf(Project::open(files.folder()));
}

TEST(ProjectTest, TheLockOfAProcessThatIsGoneIsTakenOver) {
    const SmallProject files;
    // The layout of QLockFile: process, program, host. Process numbers end far below this one.
    write(files.file(".corridor.lock"),
          "999999999\ncorridor\n" + QSysInfo::machineHostName().toUtf8() + "\n");
    valueOf(Project::open(files.folder()));
}

TEST(ProjectTest, TheLockOfAProcessThatWasKilledBeforeItSaidWhoItIsIsTakenOver) {
    const SmallProject files;
    write(files.file(".corridor.lock"), {});
    valueOf(Project::open(files.folder()));
}

TEST(ProjectTest, WhatIsNoProjectIsRefusedInOneLine) {
    const SmallProject files;
    EXPECT_TRUE(failureOf(Project::open(files.beside("missing"))).message.contains("missing"));
    EXPECT_TRUE(failureOf(Project::open(files.file("old"))).message.contains("project.json"));
    const struct {
        const char* text;
        const char* cause;
    } cases[] = {
        {"{ broken", "not JSON"},
        {"{\"format\": \"other\"}", "not a corridor project"},
        {"{\"format\": \"corridor-project\", \"version\": 2}", "newer"},
        {"{\"format\": \"corridor-project\", \"version\": 1, \"crs\": \"EPSG:4547\", \"epochs\": []}",
         "epochs"},
        {"{\"format\": \"corridor-project\", \"version\": 1, \"crs\": \"EPSG:4326\", "
         "\"epochs\": [{\"dsm\": \"a\"}, {\"dsm\": \"b\"}]}",
         "crs"}};
    for (const auto& [text, cause] : cases) {
        write(files.file("project.json"), text);
        const Failure failure = failureOf(Project::open(files.folder()));
        EXPECT_TRUE(failure.message.contains(cause)) << failure.message.toStdString();
        EXPECT_TRUE(failure.message.contains("project.json"));
    }
}

TEST(RasterProjectTest, TwoRastersBecomeAProjectThatCanBeComputed) {
    const SmallProject files;
    const RasterPair pair{files.file("old/dsm.tif"), files.file("new/dsm.tif"), {}, {}};
    const auto project = valueOf(openOrCreateProject(files.beside("pair"), pair));
    EXPECT_EQ(project.description().crs, "EPSG:4547");
    const auto database = valueOf(PipelineDatabase::open(project.description(), Project::Access::Exclusive));
    EXPECT_EQ(readStations(*database->GetMySQL()).size(), 1U);
    ComputationRequest request;
    request.project = project.description();
    EXPECT_EQ(valueOf(computeAnomalies(request)).anomalies, 3);
}

TEST(RasterProjectTest, TheSameRastersOpenTheProjectAgainAndOthersAreRefused) {
    const SmallProject files;
    const RasterPair pair{files.file("old/dsm.tif"), files.file("new/dsm.tif"), {}, {}};
    valueOf(openOrCreateProject(files.beside("pair"), pair));
    valueOf(openOrCreateProject(files.beside("pair"), pair));
    failureOf(openOrCreateProject(files.beside("pair"), {pair.newDsm, pair.oldDsm, {}, {}}));
}

TEST(RasterProjectTest, GeographicRastersGetAProjectedZone) {
    const SmallProject files;
    const QString old = files.beside("old4326.tif");
    const QString now = files.beside("new4326.tif");
    SmallProject::writeHeights(old, SmallProject::oldHeight, 4326);
    SmallProject::writeHeights(now, SmallProject::newHeight, 4326);
    const auto project = valueOf(openOrCreateProject(files.beside("pair"), {old, now, {}, {}}));
    EXPECT_EQ(project.description().crs, "EPSG:4547"); // 114 degrees east
    const auto database = valueOf(PipelineDatabase::open(project.description(), Project::Access::Exclusive));
    ComputationRequest request;
    request.project = project.description();
    EXPECT_EQ(valueOf(computeAnomalies(request)).anomalies, 3);
    KV_StationItem item(readStations(*database->GetMySQL()).at(0));
    EXPECT_GT(item.m_station.m_xMin, 400000.0);
}

TEST(RasterProjectTest, BadRastersAreRefusedAndNothingIsLeft) {
    const SmallProject files;
    const QString good = files.file("old/dsm.tif");
    const QString folder = files.beside("pair");
    SmallProject::writeHeights(files.beside("nowhere.tif"), SmallProject::oldHeight, 0);
    SmallProject::writeHeights(files.beside("far.tif"), SmallProject::oldHeight, 32633);
    write(files.beside("text.tif"), "no raster");
    for (const char* name : {"missing.tif", "nowhere.tif", "far.tif", "text.tif"}) {
        const Failure failure = failureOf(openOrCreateProject(folder, {good, files.beside(name), {}, {}}));
        EXPECT_TRUE(failure.message.contains(name)) << failure.message.toStdString();
        EXPECT_TRUE(QDir(folder).entryList(QDir::Files | QDir::Hidden).isEmpty());
    }
}

} // namespace
