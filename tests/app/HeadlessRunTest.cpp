#include "tests/app/SampleProject.h"

#include <gtest/gtest.h>

#include <QDir>
#include <QFileInfo>
#include <QImage>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>

namespace {

struct Outcome {
    int exitStatus = -1;
    QString output;
    QString errors;
};

/// Our own, and AddressSanitizer does not fail the program for what GL's libraries leave, whoever starts the
/// tests: of two words that contradict each other the last one counts.
QProcessEnvironment environmentUnderGl() {
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert("ASAN_OPTIONS",
                       environment.value("ASAN_OPTIONS") + ":detect_leaks=0:new_delete_type_mismatch=0");
    return environment;
}

Outcome runWorkbench(const QStringList& arguments) {
    QProcess process;
    process.setProcessEnvironment(environmentUnderGl());
    process.start(WORKBENCH_PROGRAM, arguments);
    EXPECT_TRUE(process.waitForFinished(240000));
    return {process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1,
            QString::fromUtf8(process.readAllStandardOutput()),
            QString::fromUtf8(process.readAllStandardError())};
}

QJsonObject readSummary(const QString& folder) {
    QFile file(folder + "/summary.json");
    EXPECT_TRUE(file.open(QIODevice::ReadOnly));
    return QJsonDocument::fromJson(file.readAll()).object();
}

QStringList filesBelow(const QString& folder, const QString& pattern) {
    QStringList found;
    for (const QFileInfo& entry : QDir(folder).entryInfoList(QDir::AllEntries | QDir::NoDotAndDotDot)) {
        if (entry.isDir()) {
            found += filesBelow(entry.filePath(), pattern);
        } else if (QDir::match(pattern, entry.fileName())) {
            found << entry.filePath();
        }
    }
    return found;
}

TEST(HeadlessRun, DoesTheWholeJobAndLeavesItsResults) {
    const SampleProject project;
    QTemporaryDir results;
    const Outcome run = runWorkbench({project.folder(), "--headless", results.path()});
    ASSERT_EQ(run.exitStatus, 0) << run.errors.toStdString();

    const QImage window(results.filePath("window.png"));
    EXPECT_GE(window.width(), 1200);
    QFile report(results.filePath("report.pdf"));
    ASSERT_TRUE(report.open(QIODevice::ReadOnly));
    EXPECT_TRUE(report.read(5).startsWith("%PDF"));
    EXPECT_FALSE(filesBelow(results.path(), "*.shp").isEmpty());
    EXPECT_FALSE(filesBelow(results.path(), "*.prj").isEmpty());
    EXPECT_FALSE(filesBelow(results.path(), "*.cpg").isEmpty());
    EXPECT_FALSE(filesBelow(results.path(), "*.gpkg").isEmpty());

    const QJsonObject summary = readSummary(results.path());
    EXPECT_TRUE(summary["worked"].toBool());
    EXPECT_EQ(summary["stations"].toInt(), 8);
    EXPECT_GT(summary["anomalies"].toInt(), 0);
    EXPECT_GT(summary["cells_per_second"].toDouble(), 0.0);
    EXPECT_TRUE(summary["seconds"].toObject().contains("compute"));
}

TEST(HeadlessRun, WorksOnAnyTwoSurfaceModels) {
    const SampleProject project;
    QTemporaryDir results;
    const Outcome run =
        runWorkbench({"--old", project.file("epochs/2024-05-18/dsm.tif"), "--new",
                      project.file("epochs/2025-05-20/dsm.tif"), "--headless", results.path()});
    ASSERT_EQ(run.exitStatus, 0) << run.errors.toStdString();
    EXPECT_GT(readSummary(results.path())["anomalies"].toInt(), 0);
    EXPECT_TRUE(QFileInfo::exists(results.filePath("report.pdf")));
}

TEST(HeadlessRun, AMissingProjectIsOneLineAndStatusOne) {
    QTemporaryDir results;
    const Outcome run = runWorkbench({"/nowhere/project", "--headless", results.path()});
    EXPECT_EQ(run.exitStatus, 1);
    EXPECT_TRUE(run.errors.contains("/nowhere/project")) << run.errors.toStdString();
}

TEST(HeadlessRun, AMissingRasterIsNamed) {
    QTemporaryDir results;
    const Outcome run = runWorkbench(
        {"--old", "/nowhere/old.tif", "--new", "/nowhere/new.tif", "--headless", results.path()});
    EXPECT_EQ(run.exitStatus, 1);
    EXPECT_TRUE(run.errors.contains("/nowhere/old.tif")) << run.errors.toStdString();
}

TEST(HeadlessRun, AMissingPluginFailsTheRunAndIsNamed) {
    const SampleProject project;
    QTemporaryDir results;
    const Outcome run =
        runWorkbench({project.folder(), "--tools", "/nowhere/libMissing.so", "--headless", results.path()});
    EXPECT_EQ(run.exitStatus, 1);
    EXPECT_TRUE(run.errors.contains("/nowhere/libMissing.so")) << run.errors.toStdString();
}

TEST(HeadlessRun, WrongUseIsStatusTwo) {
    EXPECT_EQ(runWorkbench({"--old", "a.tif"}).exitStatus, 2);
}

} // namespace
