// A host that has taken something away: nothing breaks, and no button stays down.

#include "tests/foreign/ForeignFixture.h"

#include <algorithm>
#include <iterator>
#include <vector>

namespace {

using Missing = ForeignContext::Missing;
using osgGA::GUIEventAdapter;

struct Lack {
    Missing missing;
    const char* name;
    bool isMeasured;  ///< a press still finds an elevation difference
    bool isDigitised; ///< a drawing tool still starts
};

constexpr Lack kLacks[] = {
    {Missing::Context, "context", false, false},     {Missing::Stations, "stations", false, true},
    {Missing::Table, "table", true, true},           {Missing::CurrentItem, "current item", true, true},
    {Missing::Images, "images", true, true},         {Missing::DataSets, "data sets", false, false},
    {Missing::Database, "database", false, false},   {Missing::Connection, "connection", false, false},
    {Missing::Parameters, "parameters", true, true}, {Missing::Scene, "scene", true, true}};

/// What the drawing tools or the editing tool reach for.
constexpr Missing kOfDrawing[] = {Missing::Context,  Missing::Stations,   Missing::DataSets,
                                  Missing::Database, Missing::Connection, Missing::Scene};
constexpr Missing kOfEditing[] = {Missing::Context, Missing::Stations, Missing::DataSets, Missing::Scene};

template<typename Wanted>
std::vector<Lack> lacksOf(const Wanted& wanted) {
    std::vector<Lack> lacks;
    for (const Lack& lack : kLacks) {
        if (std::find(std::begin(wanted), std::end(wanted), lack.missing) != std::end(wanted)) {
            lacks.push_back(lack);
        }
    }
    return lacks;
}

class LacksInAForeignHost : public InAForeignHost {
protected:
    /// All that the pointer and the keys can ask of the anomaly tool, over an anomaly. Returns how many menus
    /// opened.
    int judge() {
        Chooser chooser("深挖");
        hover(6);
        hover(5);
        click(kLeft);
        click(kRight);
        m_host.keyDown(GUIEventAdapter::KEY_Delete);
        m_host.keyUp(GUIEventAdapter::KEY_Delete);
        m_host.settle();
        m_host.doubleClick(kLeft);
        m_host.release(kLeft);
        m_host.settle();
        for (const char* slot : {"OnSetbuild", "OnDeleteItem", "checkDff"}) {
            EXPECT_TRUE(QMetaObject::invokeMethod(&m_host.command(kLook), slot)) << slot;
        }
        return chooser.menus;
    }
    /// Names and confirms what is being drawn or edited; nothing where no dialog is open.
    void confirm(const char* form) {
        if (dialog(form)) {
            InAForeignHost::confirm(form, "x");
        }
    }
    /// Chooses editing from the menu of what is under the pointer, where one opens.
    void edit() {
        const Chooser chooser("编辑");
        click(kRight);
    }
};

TEST_F(LacksInAForeignHost, OneShotCommandsLetTheirButtonsUp) {
    for (const Lack& lack : kLacks) {
        ForeignContext::missing = lack.missing;
        for (const char* name :
             {"计算异常", "输出报告", "输出shape", "参数设置", "正北视图", "撤销", "重做"}) {
            m_host.button(name).setEnabled(true);
            m_host.click(name);
            EXPECT_FALSE(m_host.button(name).isChecked()) << name << ", no " << lack.name;
        }
    }
}

TEST_F(LacksInAForeignHost, TheAnomalyToolMeasuresZeroAndDoesWhatItStillCan) {
    for (const Lack& lack : kLacks) {
        for (const bool isMissingFirst : {true, false}) {
            SCOPED_TRACE(lack.name);
            if (isMissingFirst) {
                ForeignContext::missing = lack.missing;
            }
            clickTool(kLook);
            ForeignContext::missing = lack.missing;
            const bool isJudged = lack.isMeasured && lack.missing != Missing::Table;
            EXPECT_EQ(judge(), isJudged ? 1 : 0);
            EXPECT_EQ(m_host.valueLabel(), lack.isMeasured ? "1.25" : "0");
            clickTool(kLook);
            EXPECT_FALSE(m_host.button(kLook).isChecked());
            ForeignContext::reset();
        }
    }
}

TEST_F(LacksInAForeignHost, TheDrawingToolsStoreNothingThatNobodyTakes) {
    for (const Lack& lack : lacksOf(kOfDrawing)) {
        for (const char* tool : {kPoint, kArea}) {
            SCOPED_TRACE(lack.name);
            ForeignContext::missing = lack.missing;
            clickTool(tool);
            EXPECT_EQ(dialog("CDrawPointDlg") || dialog("CdrawPolygonDlg"), lack.isDigitised);
            moveTo(200, 140);
            click(kLeft);
            confirm("CDrawPointDlg");
            confirm("CdrawPolygonDlg");
            const bool isStored = lack.isDigitised && lack.missing != Missing::Stations;
            EXPECT_EQ(m_host.calls.filter("Node x").size(), isStored ? 1 : 0);
            m_host.calls.clear();
            m_host.leaveActiveTool();
            m_host.settle();
            ForeignContext::reset();
        }
    }
}

TEST_F(LacksInAForeignHost, TheDrawingToolsBearWhatGoesWhileTheyDraw) {
    for (const Lack& lack : lacksOf(kOfDrawing)) {
        for (const char* tool : {kPoint, kArea}) {
            SCOPED_TRACE(lack.name);
            clickTool(tool);
            moveTo(200, 140);
            click(kLeft);
            ForeignContext::missing = lack.missing;
            confirm("CDrawPointDlg");
            confirm("CdrawPolygonDlg");
            m_host.leaveActiveTool();
            m_host.settle();
            ForeignContext::reset();
        }
    }
}

TEST_F(LacksInAForeignHost, TheEditingToolBearsIt) {
    const auto place = [this] {
        clickTool(kPoint);
        moveTo(60, 140);
        click(kLeft);
        confirm("CDrawPointDlg");
    };
    for (const Lack& lack : lacksOf(kOfEditing)) {
        for (const bool isMissingFirst : {true, false}) {
            SCOPED_TRACE(lack.name);
            place();
            clickTool(kEdit);
            if (isMissingFirst) {
                ForeignContext::missing = lack.missing;
            }
            hoverAt(60, 144);
            edit();
            ForeignContext::missing = lack.missing;
            confirm("CDrawPointDlg");
            EXPECT_EQ(dialog("CDrawPointDlg"), nullptr);
            m_host.keyDown(GUIEventAdapter::KEY_Delete);
            m_host.keyUp(GUIEventAdapter::KEY_Delete);
            m_host.settle();
            m_host.leaveActiveTool();
            m_host.settle();
            ForeignContext::reset();
        }
    }
}

TEST_F(LacksInAForeignHost, AnAreaThatIsBeingEditedBearsIt) {
    for (const Lack& lack : lacksOf(kOfEditing)) {
        SCOPED_TRACE(lack.name);
        clickTool(kArea);
        digitise({{20.0F, 20.0F}, {90.0F, 20.0F}, {90.0F, 80.0F}, {20.0F, 80.0F}});
        confirm("CdrawPolygonDlg");
        clickTool(kEdit);
        hoverAt(30, 30);
        edit();
        ASSERT_NE(dialog("CdrawPolygonDlg"), nullptr);
        ForeignContext::missing = lack.missing;
        confirm("CdrawPolygonDlg");
        EXPECT_EQ(dialog("CdrawPolygonDlg"), nullptr);
        ForeignContext::reset();
        m_host.keyDown(GUIEventAdapter::KEY_Delete);
        m_host.keyUp(GUIEventAdapter::KEY_Delete);
        m_host.leaveActiveTool();
        m_host.settle();
    }
}

} // namespace
