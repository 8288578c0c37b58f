#include "host/Gbk.h"

#include <gtest/gtest.h>

namespace {

TEST(Gbk, ChineseTextsBecomeTheBytesOfTheCodePage) {
    EXPECT_EQ(toGbk("异常"), "\xD2\xEC\xB3\xA3");
    EXPECT_EQ(fromGbk("\xD2\xEC\xB3\xA3"), QString::fromUtf8("异常"));
    EXPECT_EQ(gbkToUtf8("\xD2\xEC\xB3\xA3"), "异常");
    EXPECT_EQ(utf8ToGbk("异常"), "\xD2\xEC\xB3\xA3");
}

TEST(Gbk, AsciiStaysAsItIsTrailingBlanksIncluded) {
    EXPECT_EQ(toGbk("303 comput diff "), "303 comput diff ");
    EXPECT_EQ(toGbk("查看\\编辑异常").find('\\'), 4U);
}

TEST(Gbk, CharactersThatGbkLacksSurviveTheWayThroughAnEightBitRecord) {
    const QString rare = QString::fromUtf8("井😀𠮷");
    EXPECT_EQ(fromGbk(toGbk(rare)), rare);
}

TEST(Gbk, BytesThatAreNoTextDoNotStopAnything) {
    EXPECT_FALSE(fromGbk("\xFF\xFF ok").isEmpty());
    EXPECT_TRUE(fromGbk("\xFF\xFF ok").endsWith("ok"));
}

TEST(Gbk, ACharacterThatWasCutOffIsSeen) {
    EXPECT_EQ(fromGbk("\xD2\xEC\xB3"), QString::fromUtf8("异\uFFFD"));
    EXPECT_EQ(fromGbk("\x81"), QString(QChar(0xFFFD)));
    EXPECT_EQ(fromGbk("line\n"), "line\n");
    EXPECT_EQ(fromGbk(""), "");
}

} // namespace
