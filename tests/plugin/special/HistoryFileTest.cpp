// The file of attribute words, byte for byte.

#include "special/AttributeHistory.h"
#include "tests/plugin/special/SpecialFixture.h"
#include "tests/support/FullDisk.h"

#include <QDir>
#include <QFile>

#include <gtest/gtest.h>

#include <fstream>

namespace {

class HistoryFile : public testing::Test {
protected:
    void write(const QByteArray& bytes) const {
        QFile file(m_directory.file("record.txt"));
        ASSERT_TRUE(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
        ASSERT_EQ(file.write(bytes), bytes.size());
    }
    static AttributeHistory read() {
        AttributeHistory history;
        readAttributeHistory(history);
        return history;
    }

    const WorkingDirectory m_directory;
};

TEST_F(HistoryFile, MissingGivesNothingAndTheFirstWordMakesIt) {
    AttributeHistory history = read();
    EXPECT_TRUE(history.polygon.isEmpty() && history.area.isEmpty() && history.point.isEmpty());
    rememberAttribute(history, &AttributeHistory::point, "X");
    EXPECT_EQ(m_directory.history(),
              "startPolygon\nendPolygon\nstartArea\nendArea\nstartPoint\nX\nendPoint\n");
}

TEST_F(HistoryFile, IsGbkWithTheThreeBlocksInOrder) {
    AttributeHistory history;
    rememberAttribute(history, &AttributeHistory::polygon, "学校");
    rememberAttribute(history, &AttributeHistory::point, "阀室");
    rememberAttribute(history, &AttributeHistory::point, "桩");
    EXPECT_EQ(m_directory.history(), "startPolygon\n\xD1\xA7\xD0\xA3\nendPolygon\nstartArea\nendArea\n"
                                     "startPoint\n\xB7\xA7\xCA\xD2\n\xD7\xAE\nendPoint\n");
    EXPECT_EQ(read().polygon, QStringList{"学校"});
    EXPECT_EQ(read().point, QStringList({"阀室", "桩"}));
}

TEST_F(HistoryFile, AKnownOrEmptyWordLeavesItByteForByte) {
    const QByteArray odd = "x\r\nstartPoint\r\n  valve \t rest\r\nendPoint";
    write(odd);
    AttributeHistory history = read();
    rememberAttribute(history, &AttributeHistory::point, "valve");
    rememberAttribute(history, &AttributeHistory::point, "");
    EXPECT_EQ(m_directory.history(), odd);
}

TEST_F(HistoryFile, WordsThatDifferInLetterCaseAreBothStored) {
    AttributeHistory history;
    rememberAttribute(history, &AttributeHistory::area, "Valve");
    rememberAttribute(history, &AttributeHistory::area, "valve");
    EXPECT_EQ(read().area, QStringList({"Valve", "valve"}));
}

TEST_F(HistoryFile, TwoWordsAreWrittenWholeAndReadAsTheFirst) {
    AttributeHistory history;
    rememberAttribute(history, &AttributeHistory::point, "gate valve");
    EXPECT_TRUE(m_directory.history().contains("\ngate valve\n"));
    EXPECT_EQ(read().point, QStringList{"gate"});
}

TEST_F(HistoryFile, ABlockThatOpensWithinAnotherGivesItsWordsToBoth) {
    write("startPolygon\na\nstartPoint\nb\nendPolygon\nc\nendPoint\nd\n");
    EXPECT_EQ(read().polygon, QStringList({"a", "b"}));
    EXPECT_EQ(read().point, QStringList({"b", "c"}));
}

TEST_F(HistoryFile, LinesOutsideTheBlocksAndLinesWithoutWordsAreIgnored) {
    write("before\nstartPolygon\n\n   \na\nendPolygon\nbetween\nstartpoint\nb\nendPoint\nafter\n");
    const AttributeHistory history = read();
    EXPECT_EQ(history.polygon, QStringList{"a"});
    EXPECT_TRUE(history.area.isEmpty());
    EXPECT_TRUE(history.point.isEmpty()) << "markers are compared exactly";
}

TEST_F(HistoryFile, LineFeedsAloneReadAsThoseOfWindows) {
    const QByteArray lines = "startArea\n\xB7\xA7\xCA\xD2\nb\nendArea\nstartPoint\nc\nendPoint\n";
    write(lines);
    const AttributeHistory plain = read();
    write(QByteArray(lines).replace("\n", "\r\n"));
    EXPECT_EQ(read().area, plain.area);
    EXPECT_EQ(read().point, plain.point);
    EXPECT_EQ(plain.area, QStringList({"阀室", "b"}));
}

TEST_F(HistoryFile, DuplicatesAreReadAsTheyStand) {
    write("startArea\na\na\nendArea\n");
    EXPECT_EQ(read().area, QStringList({"a", "a"}));
}

TEST_F(HistoryFile, AWordOfAMillionCharactersIsReadWhole) {
    const QByteArray word(1000000, 'w');
    write("startPoint\n" + word + "\nendPoint\n");
    ASSERT_EQ(read().point.size(), 1);
    EXPECT_EQ(read().point[0].size(), word.size());
}

TEST_F(HistoryFile, AHundredMegabytesAreRead) {
    write("startPoint\nfirst\nendPoint\n" + QByteArray("noise noise noise noise\n").repeated(4200000) +
          "startPoint\nlast\nendPoint\n");
    EXPECT_EQ(read().point, QStringList({"first", "last"}));
}

TEST_F(HistoryFile, BytesThatAreNoTextAreReadWithoutHarmAndTheOtherWordsOutliveThem) {
    write("startPoint\nold\n\xFF\x80\na\xFF\n\xB7\xA7\xCA\xD2\nendPoint\n");
    AttributeHistory history = read();
    EXPECT_EQ(history.point.size(), 4);
    testing::internal::CaptureStdout();
    rememberAttribute(history, &AttributeHistory::point, "new");
    EXPECT_FALSE(testing::internal::GetCapturedStdout().empty());
    EXPECT_EQ(m_directory.history(), "startPolygon\nendPolygon\nstartArea\nendArea\n"
                                     "startPoint\nold\n\xB7\xA7\xCA\xD2\nnew\nendPoint\n");
}

TEST_F(HistoryFile, AnyByteIsReadWithoutHarm) {
    QByteArray bytes = "startPoint\n";
    for (int byte = 0; byte < 256; ++byte) {
        bytes.append(static_cast<char>(byte)).append("\xFF\x80\n");
    }
    write(bytes + "last\nendPoint\n");
    ASSERT_FALSE(read().point.isEmpty());
    EXPECT_EQ(read().point.last(), "last");
}

TEST_F(HistoryFile, AWordThatGbkLacksIsLeftOutWithALineInTheLogAndTheOthersAreWritten) {
    AttributeHistory history;
    rememberAttribute(history, &AttributeHistory::point, "桩");
    testing::internal::CaptureStdout();
    rememberAttribute(history, &AttributeHistory::point, QStringLiteral("井😀"));
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "record.txt goes without an attribute that has characters that GBK lacks\n");
    rememberAttribute(history, &AttributeHistory::point, "阀室");
    EXPECT_EQ(read().point, QStringList({"桩", "阀室"})) << "it does not stop the history";
    EXPECT_FALSE(m_directory.history().contains('?'));
    EXPECT_EQ(history.point.size(), 3) << "the dialog that is open goes on offering it";
}

TEST_F(HistoryFile, LineEndsAreThoseOfThePlatformsTextFiles) {
    {
        std::ofstream text(m_directory.file("platform.txt").toStdString()); // a text-mode stream
        text << "startPolygon\nendPolygon\nstartArea\nendArea\nstartPoint\nX\nendPoint\n";
    }
    QFile platform(m_directory.file("platform.txt"));
    ASSERT_TRUE(platform.open(QIODevice::ReadOnly));
    AttributeHistory history;
    rememberAttribute(history, &AttributeHistory::point, "X");
    EXPECT_EQ(m_directory.history(), platform.readAll());
}

TEST_F(HistoryFile, AnEndMarkerOnlyClosesItsBlockAndIsNeverAnEntry) {
    write("startPolygon\na\nendPoint\nb\nendArea\nc\nstartArea\nd\nendPolygon\ne\nendArea\nendPolygon\n");
    const AttributeHistory history = read();
    EXPECT_EQ(history.polygon, QStringList({"a", "b", "c", "d"}));
    EXPECT_EQ(history.area, QStringList({"d", "e"}));
    EXPECT_TRUE(history.point.isEmpty());
}

TEST_F(HistoryFile, ADirectoryOfThatNameIsLeftAlone) {
    ASSERT_TRUE(QDir().mkdir(m_directory.file("record.txt")));
    AttributeHistory history = read();
    EXPECT_TRUE(history.point.isEmpty());
    testing::internal::CaptureStdout();
    rememberAttribute(history, &AttributeHistory::point, "a");
    EXPECT_EQ(testing::internal::GetCapturedStdout().rfind("record.txt is not written: ", 0), 0U);
    EXPECT_TRUE(QFileInfo(m_directory.file("record.txt")).isDir());
}

TEST_F(HistoryFile, AReadOnlyFileKeepsItsBytesUnlessTheSuperuserWrites) {
    write("startPoint\nold\nendPoint\n");
    ASSERT_TRUE(QFile::setPermissions(m_directory.file("record.txt"), QFile::ReadOwner));
    // The superuser writes what nobody else may.
    const bool isWritten = QFileInfo(m_directory.file("record.txt")).isWritable();
    AttributeHistory history = read();
    testing::internal::CaptureStdout();
    rememberAttribute(history, &AttributeHistory::point, "a");
    EXPECT_EQ(testing::internal::GetCapturedStdout().empty(), isWritten);
    EXPECT_EQ(m_directory.history(),
              isWritten ? "startPolygon\nendPolygon\nstartArea\nendArea\nstartPoint\nold\na\nendPoint\n"
                        : "startPoint\nold\nendPoint\n");
}

TEST_F(HistoryFile, AFullDiskKeepsTheOldWords) {
    AttributeHistory history;
    rememberAttribute(history, &AttributeHistory::point, "old");
    const QByteArray before = m_directory.history();
    {
        const FullDisk full;
        rememberAttribute(history, &AttributeHistory::point, "new");
    }
    EXPECT_EQ(m_directory.history(), before);
}

TEST_F(HistoryFile, TheLastWriterWins) {
    AttributeHistory one = read();
    AttributeHistory other = read();
    rememberAttribute(one, &AttributeHistory::point, "one");
    rememberAttribute(other, &AttributeHistory::area, "other");
    EXPECT_TRUE(read().point.isEmpty());
    EXPECT_EQ(read().area, QStringList{"other"});
}

} // namespace
