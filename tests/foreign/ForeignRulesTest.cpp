// What the tools ask of a host, counted: how often, with what, and what they do with the answers.

#include "tests/foreign/ForeignFixture.h"

namespace {

using osgGA::GUIEventAdapter;

class RulesInAForeignHost : public InAForeignHost {
protected:
    void startOn(std::size_t anomaly) {
        m_host.click(kLook);
        m_host.settle();
        hover(anomaly);
        click(kLeft);
        ASSERT_EQ(m_host.highlighted(), std::vector<std::size_t>{anomaly});
    }
    /// Right click, Delete and double-click, answering every menu with "删除".
    int menusOfEverything() {
        const Chooser chooser("删除");
        click(kRight);
        m_host.keyDown(GUIEventAdapter::KEY_Delete);
        m_host.keyUp(GUIEventAdapter::KEY_Delete);
        m_host.settle();
        doubleClick();
        return chooser.menus;
    }
    void doubleClick() {
        m_host.doubleClick(kLeft);
        m_host.release(kLeft);
        m_host.settle();
    }
};

TEST_F(RulesInAForeignHost, AStationWhoseAnomaliesAreNotShownIsNotThereForTheTool) {
    ForeignContext::stations().isDiffShown = false;
    startOn(5);
    EXPECT_EQ(m_host.valueLabel(), "0");
    EXPECT_EQ(menusOfEverything(), 0);
    EXPECT_EQ(m_host.calls, QStringList());
    EXPECT_EQ(m_host.messages, QStringList());

    ForeignContext::stations().isDiffShown = true;
    EXPECT_EQ(menusOfEverything(), 1);
    EXPECT_TRUE(m_host.calls.contains("DeleteItems A5")) << m_host.calls.join(", ").toStdString();
    EXPECT_TRUE(m_host.calls.contains("CreatZoomItem")) << m_host.calls.join(", ").toStdString();
}

TEST_F(RulesInAForeignHost, ADoubleClickReadsTheBoundsOfTheStationThatItHitsOnceMore) {
    ForeignStations& stations = ForeignContext::stations();
    stations.checkedOnes = {&stations.elsewhere, &stations.item, &stations.second};
    startOn(5);
    m_host.domReads.clear();
    doubleClick();
    EXPECT_EQ(m_host.domReads, (std::map<std::uint32_t, int>{{stations.elsewhere.GetStationId(), 1},
                                                             {stations.item.GetStationId(), 2}}));
}

TEST_F(RulesInAForeignHost, AMoveWithTheEditingToolPicksOnce) {
    m_host.click(kEdit);
    m_host.settle();
    const int before = m_host.picks;
    m_host.move(40, 40);
    m_host.settle();
    EXPECT_EQ(m_host.picks, before + 1);
}

TEST_F(RulesInAForeignHost, AMoveWhileAPointWaitsForItsNamePicksNothing) {
    m_host.click(kPoint);
    m_host.settle();
    m_host.move(200, 90);
    click(kLeft);
    QTest::mouseClick(&theChild<QPushButton>(dialog("CDrawPointDlg"), "pushButtonOK"), Qt::LeftButton);
    ASSERT_EQ(m_host.messages, QStringList{"请输入名称"});
    const int before = m_host.picks;
    m_host.move(40, 40);
    m_host.settle();
    EXPECT_EQ(m_host.picks, before);
}

TEST_F(RulesInAForeignHost, QuestionsAndWarningsSayWhatTheyAre) {
    startOn(5);
    {
        const Chooser chooser("删除");
        click(kRight);
        EXPECT_EQ(m_host.boxes, QStringList{"提示 2 1 1"});
    }
    m_host.boxes.clear();
    for (const auto& [tool, form] : {std::pair(kPoint, "CDrawPointDlg"), {kArea, "CdrawPolygonDlg"}}) {
        m_host.click(tool);
        m_host.settle();
        QTest::mouseClick(&theChild<QPushButton>(dialog(form), "pushButtonOK"), Qt::LeftButton);
    }
    EXPECT_EQ(m_host.boxes, (QStringList{"提示 3 0 1", "提示 3 0 1"}));
}

TEST_F(RulesInAForeignHost, AProjectThatIsClosedWhileTheFirstMenuIsOpenHasNoSecondOne) {
    ForeignStations& stations = ForeignContext::stations();
    stations.checkedOnes = {&stations.item, &stations.second};
    startOn(5);
    Chooser chooser("nothing");
    click(kRight);
    EXPECT_EQ(chooser.menus, 2) << "one for each station";
    chooser.menus = 0;
    chooser.onMenu = [&stations] { stations.checkedOnes.clear(); };
    click(kRight);
    EXPECT_EQ(chooser.menus, 1);
}

} // namespace
