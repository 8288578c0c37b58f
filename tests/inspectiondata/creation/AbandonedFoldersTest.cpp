// What a killed process left is removed by the next one, and only that.

#include "../Opened.h"
#include "tests/support/VectorFile.h"

#include "workbench/inspectiondata/creation/CreateProject.h"
#include "workbench/inspectiondata/creation/FolderInTheMaking.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QLockFile>

namespace {

using namespace inspection;

/// Nobody holds it.
const QByteArray kLockOfTheDead = "corridor works here, process 99999999\n";

class AbandonedFoldersTest : public testing::Test {
protected:
    QStringList all() const {
        return QDir(m_place.path()).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot);
    }
    QString at(const QString& name) const { return m_place.filePath(name); }
    void leave(const QString& name, const QByteArray& lock) const {
        ASSERT_TRUE(QDir().mkpath(at(name + "/epochs")));
        writeBytes(at(name + "/epochs/dsm.tif"), "half");
        writeBytes(at(name + ".corridor-making"), lock);
    }
    QTemporaryDir m_place;
};

TEST_F(AbandonedFoldersTest, TheFoldersOfTheDeadGoAndAllOthersStay) {
    leave(".工程-1234abcd1234abcd", kLockOfTheDead);
    writeBytes(at(".alone-1234abcd1234abcd.corridor-making"),
               kLockOfTheDead); // killed before its folder was made
    leave(".strange-1234abcd1234abcd", "no lock of ours");
    leave(".", kLockOfTheDead); // its folder would be the one above
    ASSERT_TRUE(QDir().mkpath(at(".hidden-1234abcd1234abcd")));
    const FolderInTheMaking living(at("living"));
    ASSERT_TRUE(living.isThere());
    {
        const FolderInTheMaking next(at("next"));
        ASSERT_TRUE(next.isThere());
        EXPECT_TRUE(QFileInfo(living.path()).isDir());
        EXPECT_EQ(all().size(), 9) << all().join(' ').toStdString();
        EXPECT_FALSE(QFileInfo::exists(at(".工程-1234abcd1234abcd")));
        EXPECT_TRUE(QFileInfo::exists(at(".strange-1234abcd1234abcd/epochs/dsm.tif")));
        EXPECT_TRUE(QFileInfo::exists(at(".hidden-1234abcd1234abcd")));
    }
    EXPECT_EQ(all().size(), 7) << all().join(' ').toStdString();
}

TEST_F(AbandonedFoldersTest, AFolderThatHasTakenItsPlaceLeavesNoLock) {
    {
        FolderInTheMaking making(at("project"));
        writeBytes(making.path() + "/file", "whole");
        EXPECT_TRUE(making.takePlace());
    }
    EXPECT_EQ(all().join(' ').toStdString(), "project");
    EXPECT_TRUE(QFileInfo::exists(at("project/file")));
}

TEST_F(AbandonedFoldersTest, AnEpochThatTheProjectNamesIsKept) {
    for (const char* name : {"named", "abandoned"}) {
        ASSERT_TRUE(QDir().mkpath(at(QString(name) + "/dsm")));
        writeBytes(at(QString(name) + "/dsm/dsm.tif"), "x");
        writeBytes(at(QString(name) + "/.corridor-making"), kLockOfTheDead);
    }
    ASSERT_TRUE(QDir().mkpath(at("own")));
    auto living = valueOf(EpochFolder::make(m_place.path(), "living"));
    EpochFolder::removeAbandoned(m_place.path(),
                                 [this](const QString& folder) { return folder == at("named"); });
    EXPECT_EQ(all().join(' ').toStdString(), "living named own");
    EXPECT_FALSE(QFileInfo::exists(at("named/.corridor-making")));
    EXPECT_TRUE(QFileInfo::exists(at("named/dsm/dsm.tif")));
}

} // namespace
