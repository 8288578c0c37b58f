// A further epoch comes in by the same doors as the first ones.

#include "../Opened.h"
#include "../ThreeEpochs.h"
#include "GroundCloud.h"
#include "tests/support/FullDisk.h"
#include "tests/support/VectorFile.h"

#include "workbench/inspectiondata/creation/CreateProject.h"
#include "workbench/inspectiondata/creation/EpochAddition.h"

#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QFileInfo>

#include <gdal_priv.h>
#include <gdal_utils.h>

namespace {

using namespace inspection;

/// Everything in a folder with its size, hidden files too.
std::string contents(const QString& folder) {
    QStringList entries;
    QDirIterator files(folder, QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot,
                       QDirIterator::Subdirectories);
    while (files.hasNext()) {
        entries << files.next() + QStringLiteral(" %1").arg(files.fileInfo().size());
    }
    entries.sort();
    return entries.join('\n').toStdString();
}

class EpochAdditionTest : public testing::Test {
protected:
    EpochAdditionTest() { SmallProject::writeHeights(m_third, SmallProject::newHeight); }

    Result<MadeEpoch> make(const std::function<bool(double)>& progress = {}) {
        const auto next = planEpochFor(m_project.description(), m_wish);
        return next ? makeEpoch(m_project.description(), *next, m_wish.copiesFiles, progress) : failed(next);
    }
    Status add(const std::function<bool(double)>& progress = {}) {
        auto made = make(progress);
        return made ? made->addTo(m_project) : failed(made);
    }
    /// That it is refused for this cause, and that nothing is left of it.
    void expectRefusal(const NewEpoch& epoch, const char* cause) {
        m_wish.epoch = epoch;
        const std::string before = contents(m_files.folder());
        const Failure failure = failureOf(add());
        EXPECT_TRUE(failure.userMessage.contains(cause)) << failure.userMessage.toStdString();
        EXPECT_EQ(contents(m_files.folder()), before);
        EXPECT_EQ(m_project.description().epochs.size(), 2U);
    }
    const Epoch& added() const { return m_project.description().epochs.back(); }
    QString epochs(const QString& name) const { return m_files.file("epochs/" + name); }

    SmallProject m_files;
    Project m_project = valueOf(Project::open(m_files.folder()));
    QString m_third = m_files.beside("20260525.tif");
    EpochWish m_wish{{{}, m_third, {}}};
};

TEST_F(EpochAdditionTest, ARasterStaysWhereItIsAndItsNameTellsTheDate) {
    EXPECT_TRUE(add());
    EXPECT_EQ(added().date, "2026-05-25");
    EXPECT_EQ(added().dsm, m_third);
    const auto stored = valueOf(Project::open(m_files.folder(), Project::Access::ReadOnly)).description();
    EXPECT_EQ(stored.epochs.back().date, "2026-05-25");
    EXPECT_FALSE(QFileInfo::exists(epochs({}))) << "no folder for it";
}

TEST_F(EpochAdditionTest, WhatIsRefusedAtTheBeginningIsRefusedLater) {
    expectRefusal({"2026-01-01", m_files.file("nowhere.tif"), {}}, "文件不存在");
    expectRefusal({"2026-01-01", m_files.file("centerline.gpkg"), {}}, "无法读取栅格");
    expectRefusal({"2026-01-01", m_files.file("new/dom.tif"), {}}, "是影像，不是表面模型");
    expectRefusal({"2026-01-01", m_third, m_files.file("project.json")}, "无法读取栅格");
    expectRefusal({"2026-02-30", m_third, {}}, "日期");
    expectRefusal({"2025-05-20", m_third, {}}, "已有期次 2025-05-20");
    expectRefusal({"2026-01-01", m_third, {}, "EPSG:4547"}, "不是高程系统");
    SmallProject::writeHeights(m_files.beside("unplaced.tif"), SmallProject::newHeight, 0);
    expectRefusal({"2026-01-01", m_files.beside("unplaced.tif"), {}}, "没有坐标系");
    SmallProject::writeHeights(m_files.beside("elsewhere.tif"), SmallProject::newHeight, 4549);
    expectRefusal({"2026-01-01", m_files.beside("elsewhere.tif"), {}}, "没有重叠区域");
}

TEST_F(EpochAdditionTest, AGuessedDateOfAnotherEpochIsNotBelieved) {
    SmallProject::writeHeights(m_files.beside("20250520.tif"), SmallProject::newHeight);
    m_wish.epoch.surface = m_files.beside("20250520.tif");
    EXPECT_TRUE(add());
    EXPECT_TRUE(added().date.isEmpty());
}

TEST_F(EpochAdditionTest, CloudsBecomeASurfaceModelInTheFolder) {
    const QString clouds = m_files.beside("20260525");
    ASSERT_TRUE(QDir().mkpath(clouds));
    writeGroundCloud(clouds + "/west.las", SmallProject::newHeight, 0, 250, {});
    writeGroundCloud(clouds + "/east.las", SmallProject::newHeight, 250, SmallProject::kColumns, {});
    m_wish.epoch = {{}, clouds, m_files.file("new/dom.tif")};
    double last = 0.0;
    auto made = valueOf(make([&last](double fraction) {
        EXPECT_GE(fraction, last);
        last = fraction;
        return true;
    }));
    EXPECT_DOUBLE_EQ(last, 1.0);
    ASSERT_EQ(made.notes().size(), 1);
    EXPECT_TRUE(made.notes()[0].contains("256000 点")) << made.notes()[0].toStdString();
    EXPECT_TRUE(made.addTo(m_project));
    EXPECT_EQ(added().dsm, epochs("2026-05-25/dsm.tif"));
    EXPECT_EQ(QDir(epochs("2026-05-25")).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot),
              QStringList{"dsm.tif"});
    const auto database = valueOf(PipelineDatabase::open(m_project.description(), m_project.access()));
    ComputationRequest request;
    request.project = valueOf(m_project.description().comparing({"2024-05-18", "2026-05-25"}));
    EXPECT_EQ(valueOf(computeAnomalies(request)).anomalies, 3);
}

TEST_F(EpochAdditionTest, CopiesComeBesideWhatTheFolderHoldsAlready) {
    ASSERT_TRUE(QDir().mkpath(epochs("2026-05-25")));
    writeBytes(epochs("2026-05-25/notes.txt"), "mine");
    m_wish.copiesFiles = true;
    m_wish.epoch.picture = m_files.file("new/dom.tif");
    EXPECT_TRUE(add());
    EXPECT_EQ(added().dsm, epochs("2026-05-25-2/dsm/20260525.tif"));
    EXPECT_EQ(added().dom, epochs("2026-05-25-2/dom/dom.tif"));
    EXPECT_TRUE(QFileInfo::exists(epochs("2026-05-25/notes.txt")));
    ASSERT_TRUE(QFile::remove(m_third));
    EXPECT_TRUE(QFileInfo::exists(added().dsm));
}

TEST_F(EpochAdditionTest, HeightsAreBroughtToThoseOfTheProject) {
    const QString compound = m_files.beside("old height.tif");
    const auto translate = [](const QString& from, const QString& to, const char* crs) {
        const CPLStringList arguments(CSLTokenizeString2(crs, " ", 0), TRUE);
        GDALTranslateOptions* options =
            GDALTranslateOptionsNew(const_cast<char**>(arguments.List()), nullptr);
        GDALDatasetH source = GDALOpen(from.toUtf8().constData(), GA_ReadOnly);
        GDALClose(GDALTranslate(to.toUtf8().constData(), source, options, nullptr));
        GDALTranslateOptionsFree(options);
        GDALClose(source);
    };
    translate(m_files.file("old/dsm.tif"), compound, "-a_srs EPSG:4547+5773");
    ASSERT_TRUE(m_project.addEpoch({"2023-01-01", compound, {}}));
    m_wish.epoch.heights = "ellipsoid";
    const auto next = valueOf(planEpochFor(m_project.description(), m_wish));
    ASSERT_EQ(next.notes.size(), 1);
    EXPECT_TRUE(next.notes[0].contains("椭球高")) << next.notes[0].toStdString();
    EXPECT_EQ(next.epoch.convertedHeights.isEmpty(), next.notes[0].contains("缺少换算格网"));
    EXPECT_TRUE(add());
    m_wish.epoch = {"2026-06-01", m_files.beside("later.tif"), {}};
    SmallProject::writeHeights(m_wish.epoch.surface, SmallProject::newHeight);
    const auto unknown = valueOf(planEpochFor(m_project.description(), m_wish));
    ASSERT_EQ(unknown.notes.size(), 1);
    EXPECT_TRUE(unknown.notes[0].contains("高程系统未知，按 EGM96"));
}

TEST_F(EpochAdditionTest, AnEpochThatCannotBeReadNowIsNoHindrance) {
    ASSERT_TRUE(QFile::remove(m_files.file("old/dsm.tif")));
    const auto next = valueOf(planEpochFor(m_project.description(), m_wish));
    ASSERT_EQ(next.notes.size(), 1);
    EXPECT_TRUE(next.notes[0].contains("old/dsm.tif")) << next.notes[0].toStdString();
    EXPECT_TRUE(add());
}

TEST_F(EpochAdditionTest, AStopLeavesNothingWheneverItComes) {
    writeGroundCloud(m_files.beside("20260525.las"), SmallProject::newHeight);
    m_wish = {{{}, m_files.beside("20260525.las"), m_files.file("new/dom.tif"), {}}, {}, true};
    int steps = 0;
    valueOf(make([&steps](double) { return ++steps > 0; }));
    ASSERT_GT(steps, 2);
    const std::string before = contents(m_files.folder());
    for (int last = steps; last > 0; --last) {
        int step = 0;
        EXPECT_TRUE(failureOf(add([&](double) { return ++step < last; })).cancelled) << last;
        EXPECT_EQ(contents(m_files.folder()), before) << last;
    }
}

TEST_F(EpochAdditionTest, OnAFullDiskTheProjectIsAsBefore) {
    m_wish.copiesFiles = true;
    const auto next = valueOf(planEpochFor(m_project.description(), m_wish));
    const std::string before = contents(m_files.folder());
    {
        const FullDisk full;
        EXPECT_FALSE(makeEpoch(m_project.description(), next, true).has_value());
    }
    EXPECT_EQ(contents(m_files.folder()), before);
    EXPECT_EQ(valueOf(Project::open(m_files.folder(), Project::Access::ReadOnly)).description().epochs.size(),
              2U);
}

} // namespace
