// Special points that the project, its database or the attribute history does not take.

#include "tests/plugin/special/PointFixture.h"

#include "host/inspection/IORVAContext.h"
#include "host/inspection/StationWindow.h"
#include "tests/support/ForeignConnection.h"

#include "workbench/inspection/context/InspectionContext.h"

#include <QComboBox>
#include <QLabel>
#include <QToolTip>

namespace {

using PointRefusals = PointTool;

TEST_F(PointRefusals, ATakenNameIsRefusedSilentlyAndAnotherOneGoesOn) {
    startTool();
    typeName("甲");
    leftClick(ground(60, 50));
    confirm();
    startTool();
    typeName("甲");
    leftClick(ground(120, 20));
    {
        const BoxAnswerer boxes(BoxAnswerer::Yes);
        confirm();
        EXPECT_TRUE(boxes.texts.isEmpty());
    }
    EXPECT_NE(dialog(), nullptr);
    EXPECT_EQ(storedPoints(), 1);
    EXPECT_EQ(QToolTip::text(), "名称“甲”已被使用，请换一个名称") << "by the host, beside the field";
    const auto* status = InspectionContext::instance().progressWidget()->findChild<QLabel*>();
    EXPECT_EQ(status->text(), QToolTip::text());
    QToolTip::hideText();
    typeName("乙");
    confirm();
    EXPECT_EQ(storedPoints(), 2);
}

TEST_F(PointRefusals, ARefusedInsertIsOneMessageOfTheDataLibraryAndTheMarkerGoes) {
    startTool();
    refuseInserts("special_point");
    typeName("甲");
    leftClick(ground(60, 50));
    {
        const BoxAnswerer boxes(BoxAnswerer::Yes);
        confirm();
        ASSERT_EQ(boxes.texts.size(), 1);
        EXPECT_TRUE(boxes.texts[0].contains("the server has gone")) << boxes.texts[0].toStdString();
    }
    EXPECT_EQ(storedPoints(), 0);
    EXPECT_FALSE(IORVAContext::Instance()->GetStationWindow()->isReiterated_node("甲"));
    EXPECT_EQ(group()->getNumChildren(), 0U);
    EXPECT_NE(dialog(), nullptr) << "it stays confirming";
    leftClick(ground(120, 20));
    EXPECT_EQ(group()->getNumChildren(), 0U);
}

TEST_F(PointRefusals, ADatabaseThatIsLostBeforeOkStoresNothingAndOnceItIsBackTheSameOkGoesOn) {
    startTool();
    typeName("甲");
    leftClick(ground(60, 50));
    {
        const ForeignConnection other(m_folder + "/inspection.db");
        other.run("begin exclusive");
        const BoxAnswerer boxes(BoxAnswerer::Yes);
        confirm();
        ASSERT_EQ(boxes.texts.size(), 1);
        EXPECT_TRUE(boxes.texts[0].contains("locked")) << boxes.texts[0].toStdString();
        other.run("alter table special_point rename to lost_point");
        other.run("commit");
    }
    EXPECT_FALSE(tree().findItems("甲", Qt::MatchExactly | Qt::MatchRecursive).size());
    EXPECT_EQ(group()->getNumChildren(), 0U);
    {
        const BoxAnswerer boxes(BoxAnswerer::Yes);
        confirm();
        ASSERT_EQ(boxes.texts.size(), 1);
        EXPECT_TRUE(boxes.texts[0].contains("special_point")) << boxes.texts[0].toStdString();
    }
    EXPECT_EQ(readStored("select count(*) from lost_point"), QVariantList{0});
    ForeignConnection(m_folder + "/inspection.db").run("alter table lost_point rename to special_point");
    confirm();
    EXPECT_EQ(readStored("select name from special_point"), QVariantList{"甲"});
    EXPECT_EQ(dialog(), nullptr);
}

TEST_F(PointRefusals, ANameThatGbkLacksIsKeptAndItsWordIsLeftOutOfTheHistory) {
    startTool();
    typeName(QStringLiteral("井😀"));
    type(field<QComboBox>("combox_attri"), QStringLiteral("𠮷"));
    leftClick(ground(60, 50));
    testing::internal::CaptureStdout();
    confirm();
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "record.txt goes without an attribute that has characters that GBK lacks\n");
    EXPECT_EQ(readStored("select name from special_point"), QVariantList{QStringLiteral("井😀")});
    EXPECT_EQ(readStored("select attribute from special_point"), QVariantList{QStringLiteral("𠮷")});
    EXPECT_EQ(marker()->getText(), "井😀");
    EXPECT_EQ(tree().currentItem()->text(0), QStringLiteral("井😀"));
    EXPECT_EQ(m_directory.history(), "startPolygon\nendPolygon\nstartArea\nendArea\nstartPoint\nendPoint\n");
}

TEST_F(PointRefusals, ANewWordIsRememberedEvenWhenThePointIsRefused) {
    startTool();
    leftClick(ground(60, 50));
    type(field<QComboBox>("combox_attri"), "桩");
    const BoxAnswerer boxes(BoxAnswerer::Yes);
    confirm();
    EXPECT_EQ(boxes.texts, QStringList{"请输入名称"});
    EXPECT_EQ(m_directory.history(),
              "startPolygon\nendPolygon\nstartArea\nendArea\nstartPoint\n\xD7\xAE\nendPoint\n");
}

} // namespace
