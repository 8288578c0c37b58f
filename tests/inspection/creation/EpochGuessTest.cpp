#include "workbench/inspection/creation/EpochGuess.h"
#include "tests/support/SmallProject.h"

#include <gtest/gtest.h>

#include <QDir>
#include <QFile>

namespace {

using namespace inspection;

class EpochGuessTest : public testing::Test {
protected:
    QString surface(const QString& name, int epsg = 4547) const {
        const QString file = m_files.beside(name);
        EXPECT_TRUE(QDir().mkpath(QFileInfo(file).absolutePath()));
        SmallProject::writeHeights(file, SmallProject::newHeight, epsg);
        return file;
    }
    QString picture(const QString& name) const {
        const QString file = m_files.beside(name);
        EXPECT_TRUE(QDir().mkpath(QFileInfo(file).absolutePath()));
        EXPECT_TRUE(QFile::copy(m_files.file("old/dom.tif"), file));
        return file;
    }
    static QStringList surfaces(const std::vector<NewEpoch>& epochs) {
        QStringList names;
        for (const NewEpoch& epoch : epochs) {
            names << epoch.surface;
        }
        return names;
    }
    static std::vector<EpochReading> read(const QStringList& files) {
        std::vector<NewEpoch> epochs;
        for (const QString& file : files) {
            epochs.push_back({{}, file, {}});
        }
        return readEpochs(epochs, {});
    }

    SmallProject m_files;
};

TEST_F(EpochGuessTest, AFolderOfTilesIsOneSurvey) {
    surface("flight/a.tif");
    surface("flight/b.tif");
    const QString folder = m_files.beside("flight");
    EXPECT_EQ(surfaces(surveysIn({{}, folder, {}})), QStringList{folder});
}

TEST_F(EpochGuessTest, AFolderOfFlightsIsEachOfThemAndFilesBesideThemDoNotCount) {
    surface("flights/2024-05-18/a.tif");
    surface("flights/2024-05-18/b.tif");
    const QString newer = surface("flights/2025-05-20/dsm.tif");
    const QString photo = picture("flights/2025-05-20/dom.tif");
    QFile note(m_files.beside("flights/read me.txt"));
    ASSERT_TRUE(note.open(QIODevice::WriteOnly));
    EXPECT_EQ(surfaces(surveysIn({{}, m_files.beside("flights"), {}})),
              QStringList({m_files.beside("flights/2024-05-18"), photo, newer}));
}

TEST_F(EpochGuessTest, FilesOfSeveralDatesInAFolderAreNoTiles) {
    const QString older = surface("both/20240518.tif");
    const QString newer = surface("both/20250520.tif");
    EXPECT_EQ(surfaces(surveysIn({{}, m_files.beside("both"), {}})), QStringList({older, newer}));
}

TEST_F(EpochGuessTest, WhatHoldsNoSurveyStaysSoThatTheUserIsTold) {
    ASSERT_TRUE(QDir().mkpath(m_files.beside("empty")));
    const QString folder = m_files.beside("empty");
    EXPECT_EQ(surfaces(surveysIn({{}, folder, {}})), QStringList{folder});
    const auto readings = read({folder, m_files.beside("nowhere.tif")});
    for (const EpochReading& reading : readings) {
        EXPECT_FALSE(reading.surface.has_value());
        EXPECT_TRUE(reading.problem.contains(reading.epoch.surface)) << reading.problem.toStdString();
    }
}

TEST_F(EpochGuessTest, OrthophotosGoToTheSurfaceOfTheirDateOrFolder) {
    const QString older = surface("dsm_20240518.tif");
    const QString newer = surface("dsm_20250520.tif");
    const QString olderPhoto = picture("photos/dom_20240518.tif");
    const QString plain = surface("plain/dsm.tif");
    const QString plainPhoto = picture("plain/dom.tif");
    const auto epochs = withPicturesJoined(read({olderPhoto, newer, older, plain, plainPhoto}));
    ASSERT_EQ(epochs.size(), 3U);
    EXPECT_EQ(epochs[0].epoch.picture, QString());
    EXPECT_EQ(epochs[1].epoch.picture, olderPhoto);
    EXPECT_EQ(epochs[2].epoch.picture, plainPhoto);
}

TEST_F(EpochGuessTest, AnOrthophotoThatFitsNoneOrSeveralStays) {
    const QString photo = picture("2024-05-18/dom.tif");
    EXPECT_EQ(withPicturesJoined(read({photo, surface("2025-05-20/dsm.tif")})).size(), 2U);
    const QString west = surface("2024-05-18/west.tif");
    const QString east = surface("2024-05-18/east.tif");
    EXPECT_EQ(withPicturesJoined(read({west, east, photo})).size(), 3U);
}

TEST_F(EpochGuessTest, EpochsAreSortedByTheUsersDatesBeforeTheGuessedOnesAndOnlyWhenAllAreKnown) {
    const QString newer = surface("20250520.tif");
    const QString older = surface("20240518.tif");
    auto epochs = read({newer, older});
    sortByDate(epochs);
    EXPECT_EQ(epochs[0].epoch.surface, older);
    epochs[0].epoch.date = "2026-01-01";
    sortByDate(epochs);
    EXPECT_EQ(epochs[0].epoch.surface, newer);
    auto undated = read({newer, surface("plain.tif"), older});
    sortByDate(undated);
    EXPECT_EQ(undated[0].epoch.surface, newer);
}

TEST_F(EpochGuessTest, WhatIsKnownIsNotReadAgainAndWhatFailedIs) {
    const QString file = surface("20240518.tif");
    const QString late = m_files.beside("late.tif");
    const auto before = read({file, late});
    ASSERT_TRUE(QFile::remove(file));
    surface("late.tif");
    const auto after = readEpochs({{{}, file, {}}, {{}, late, {}}}, before);
    EXPECT_TRUE(after[0].surface.has_value());
    EXPECT_TRUE(after[1].surface.has_value());
}

} // namespace
