// The editing tool as its host sees it: messages, button, picker, and what it does to which region.

#include "tests/plugin/MessageRecorder.h"
#include "tests/plugin/PickCameras.h"
#include "tests/plugin/region/RegionFixture.h"
#include "tests/support/Pointer.h"
#include "tests/support/WaitUntil.h"

#include "host/viewmanager/MessageBus.h"

#include <QApplication>
#include <QCursor>
#include <QLineEdit>
#include <QMetaObject>
#include <QTest>

#include <osgViewer/View>

using osgGA::GUIEventAdapter;

namespace {

using Messages = std::vector<std::string>;
constexpr char kDelete[] = "删除";
constexpr char kEdit[] = "编辑";

class RegionTool : public RegionTest {
protected:
    zeo::ITool& tool() const { return dynamic_cast<zeo::ITool&>(m_host.command(m_tool)); }
    QToolButton& button() const { return m_host.button(m_tool); }
    bool sendAt(GUIEventAdapter::EventType type, const QPoint& place, int mouseButton = 0, int key = 0) {
        return send(type, static_cast<float>(place.x()),
                    static_cast<float>(m_host.globe->height() - 1 - place.y()), mouseButton, key);
    }
    void sendDelete() {
        send(GUIEventAdapter::KEYDOWN, 0, 0, 0, GUIEventAdapter::KEY_Delete);
        send(GUIEventAdapter::KEYUP, 0, 0, 0, GUIEventAdapter::KEY_Delete);
    }
    void callSlot(const char* slot) const {
        EXPECT_TRUE(QMetaObject::invokeMethod(&m_host.command(m_tool), slot)) << slot;
    }
    static OsgDataSet& registry() {
        return dynamic_cast<OsgDataSet&>(*InspectionContext::instance().GetDataSet(OsgDataSet::kIndex));
    }
    static bool exists(const char* name) { return stationWindow().isReiterated_node(name); }
    void add(const Special_Polygon& area) const {
        ASSERT_TRUE(stationWindow().AddAreaNode(area));
        reopen();
        m_host.settle();
    }
};

TEST_F(RegionTool, PostsItsMessages) {
    MessageRecorder recorder;
    m_host.click(m_tool);
    draw();
    EXPECT_EQ(recorder.take(), Messages{"removePick"});
    m_host.click(m_tool);
    draw();
    EXPECT_EQ(recorder.take(), Messages{"addpick"});
}

TEST_F(RegionTool, LeftWithItsButtonUpItRefusesTheNextActivation) {
    button().setChecked(false);
    tool().OnDeactivate();
    button().setChecked(true);
    tool().OnActivate();
    draw();
    EXPECT_FALSE(button().isChecked());
    EXPECT_EQ(menusAt(onArea()), 0U);
    button().setChecked(true);
    tool().OnDeactivate();
    tool().OnActivate();
    draw();
    EXPECT_TRUE(button().isChecked());
    EXPECT_EQ(menusAt(onArea()), 1U);
}

TEST_F(RegionTool, PicksWithACameraOf256Pixels) {
    EXPECT_EQ(pickCameraPixels(*m_host.globe->getViewer()), std::vector<int>{256});
}

TEST_F(RegionTool, AnswersCastsToItsBasesAndToNothingElse) {
    zeo::ICommand& command = m_host.command(m_tool);
    EXPECT_NE(command.qt_metacast("zeo::ToolPlugin"), nullptr);
    EXPECT_EQ(command.qt_metacast("CeditDiff"), nullptr);
}

TEST_F(RegionTool, HasNothingUnderThePointerWhenItComesBackUntilThePointerMoves) {
    EXPECT_EQ(menusAt(onArea()), 1U);
    m_host.click(m_tool);
    draw();
    m_host.click(m_tool);
    draw();
    const MenuChooser menus;
    sendAt(GUIEventAdapter::RELEASE, onArea(), GUIEventAdapter::RIGHT_MOUSE_BUTTON);
    EXPECT_TRUE(menus.menus.empty());
}

TEST_F(RegionTool, ConsumesNoEventNotEvenWhenItOpensItsMenuOrDeletes) {
    moveTo(onArea());
    {
        const MenuChooser menus;
        EXPECT_FALSE(sendAt(GUIEventAdapter::RELEASE, onArea(), GUIEventAdapter::RIGHT_MOUSE_BUTTON));
        EXPECT_EQ(menus.menus.size(), 1U);
    }
    for (const auto type :
         {GUIEventAdapter::PUSH, GUIEventAdapter::DOUBLECLICK, GUIEventAdapter::RELEASE,
          GUIEventAdapter::DRAG, GUIEventAdapter::MOVE, GUIEventAdapter::SCROLL, GUIEventAdapter::FRAME}) {
        EXPECT_FALSE(sendAt(type, onArea(), GUIEventAdapter::LEFT_MOUSE_BUTTON)) << type;
    }
    EXPECT_FALSE(sendAt(GUIEventAdapter::KEYDOWN, onArea(), 0, GUIEventAdapter::KEY_Delete));
    EXPECT_FALSE(exists("面"));
    EXPECT_FALSE(sendAt(GUIEventAdapter::KEYUP, onArea(), 0, GUIEventAdapter::KEY_Delete));
}

TEST_F(RegionTool, LeavesEventsAloneThatDoNotComeFromAView) {
    struct NoView : osgGA::GUIActionAdapter {
        void requestRedraw() override {}
        void requestContinuousUpdate(bool) override {}
        void requestWarpPointer(float, float) override {}
    } nobody;
    moveTo(onArea());
    const osg::ref_ptr<GUIEventAdapter> event = new GUIEventAdapter;
    event->setEventType(GUIEventAdapter::KEYDOWN);
    event->setKey(GUIEventAdapter::KEY_Delete);
    EXPECT_FALSE(m_host.handler(m_tool).handle(*event, nobody));
    EXPECT_TRUE(exists("面"));
}

TEST_F(RegionTool, OpensItsMenuAtTheCursor) {
    expectMenuAtCursor(onArea());
}

// Which region it works on.

TEST_F(RegionTool, AfterADragARightReleaseIsForTheRegionThatWasUnderThePointerBefore) {
    add(region("上", KV_SPECIAL_AREA, 20, 65));
    const QPoint from = ground(45, 72);
    const QPoint to = onArea(); // straight below, which no click test minds
    moveTo(from);
    QTest::mousePress(m_host.globe, Qt::RightButton, {}, from);
    draw();
    movePointer(*m_host.globe, to, Qt::RightButton);
    draw(3);
    const MenuChooser menus({kDelete});
    QTest::mouseRelease(m_host.globe, Qt::RightButton, {}, to);
    draw();
    EXPECT_EQ(menus.menus.size(), 1U);
    EXPECT_FALSE(exists("上"));
    EXPECT_TRUE(exists("面"));
}

TEST_F(RegionTool, TakesTheGroupOfTheLatestRightReleaseOffTheGlobeWhenToldTo) {
    EXPECT_EQ(menusAt(onPolygon()), 1U);
    EXPECT_EQ(menusAt(onArea()), 1U);
    const osg::ref_ptr<osg::Group> area = groupOf("面");
    osgPush("deletedrawable");
    draw();
    EXPECT_FALSE(isOnGlobe(area));
    EXPECT_TRUE(isOnGlobe(groupOf("高")));
    EXPECT_TRUE(exists("面")) << "only the drawing goes";
    EXPECT_EQ(scene().getPipeAreas().size(), 1U);
}

TEST_F(RegionTool, TakesTheRegionOfARightReleaseThatIsNoClickAsWell) {
    EXPECT_EQ(menusAt(onArea()), 1U);
    moveTo(onPolygon());
    const MenuChooser menus;
    sendAt(GUIEventAdapter::RELEASE, onPolygon() + QPoint(10, 0), GUIEventAdapter::RIGHT_MOUSE_BUTTON);
    EXPECT_TRUE(menus.menus.empty());
    const osg::ref_ptr<osg::Group> polygon = groupOf("高");
    osgPush("deletedrawable");
    draw();
    EXPECT_FALSE(isOnGlobe(polygon));
    EXPECT_TRUE(isOnGlobe(groupOf("面")));
}

TEST_F(RegionTool, DeletesNoGroupOfAnotherName) {
    groupOf("面")->setName("ROIOther");
    moveTo(onArea());
    keyClick(Qt::Key_Delete);
    choose(onArea(), kDelete);
    EXPECT_TRUE(exists("面"));
    EXPECT_TRUE(isOnGlobe(groupOf("面")));
}

TEST_F(RegionTool, NeitherDeletesNorEditsWhatTheSceneDataSetDoesNotHold) {
    const osg::ref_ptr<osg::Group> area = groupOf("面");
    const Special_Area record = scene().getPipeAreas().at(area);
    registry().removePipeAreas(area);
    choose(onArea(), kDelete);
    keyClick(Qt::Key_Delete);
    EXPECT_TRUE(isOnGlobe(area));
    EXPECT_TRUE(exists("面"));
    choose(onArea(), kEdit);
    EXPECT_EQ(dialog(), nullptr);
    EXPECT_TRUE(openDialogs("CDrawPointDlg").isEmpty());
    registry().addPipeAreas(area, record); // so that it goes with its project
}

TEST_F(RegionTool, ConfirmsAnAreaForTheRegionOfTheLatestDeleteKeyThatWasRefused) {
    add(region("次", KV_SPECIAL_AREA, 75, 50));
    ForeignConnection(m_folder + "/inspection.db")
        .run("create trigger kept before delete on special_area begin select raise(abort, 'kept'); end");
    const QVariantList outline = readStored("select outline_wkt from special_area where name='次'");
    choose(onArea(), kEdit);
    typeName("面二");
    moveTo(ground(100, 75));
    keyClick(Qt::Key_Delete);
    ASSERT_TRUE(exists("次"));
    confirm();
    EXPECT_EQ(labelOf(*groupOf("面二")), std::string("面二\0", 7));
    EXPECT_EQ(readStored("select outline_wkt from special_area where name='面二'"), outline);
}

TEST_F(RegionTool, ConfirmsAPointForThePointOfTheLatestRightClick) {
    ASSERT_TRUE(stationWindow().AddPointNode(point("次", 100, 60)));
    reopen();
    m_host.settle();
    osg::Group* first = groupOf("点");
    osg::Group* second = groupOf("次");
    choose(onPoint(), kEdit);
    auto* name = openDialogs("CDrawPointDlg")[0]->findChild<QLineEdit*>("lineEditTitle");
    name->clear();
    type(name, "桩甲");
    EXPECT_EQ(menusAt(ground(100, 60) - QPoint(0, 12)), 1U);
    confirmPoint();
    EXPECT_EQ(labelOf(*second), "桩甲");
    EXPECT_EQ(labelOf(*first), "点");
    EXPECT_EQ(readStored("select name from special_point order by id"), (QVariantList{"桩甲", "次"}));
}

TEST_F(RegionTool, ConfirmsNoPointForARegionWithoutAMarkerAndLeavesTheDialogOpen) {
    choose(onPoint(), kEdit);
    auto* name = openDialogs("CDrawPointDlg")[0]->findChild<QLineEdit*>("lineEditTitle");
    name->clear();
    type(name, "桩甲");
    EXPECT_EQ(menusAt(onArea()), 1U);
    confirmPoint();
    EXPECT_EQ(openDialogs("CDrawPointDlg").size(), 1);
    EXPECT_EQ(readStored("select name from special_point"), QVariantList{"点"});
    openDialogs("CDrawPointDlg")[0]->close();
}

TEST_F(RegionTool, ConfirmsNothingForAGroupOfAnotherNameAndLeavesTheDialogOpen) {
    choose(onArea(), kEdit);
    typeName("别名");
    groupOf("面")->setName("ROIOther");
    confirm();
    EXPECT_NE(dialog(), nullptr);
    EXPECT_EQ(readStored("select name from special_area"), QVariantList{"面"});
}

TEST_F(RegionTool, WakesWhenADialogIsConfirmedAfterItWasLeft) {
    for (const auto& [place, slot, victim, name] :
         {std::tuple(onArea(), "SlotOK", onPolygon(), "高"), {onPoint(), "SlotPointOK", onArea(), "面"}}) {
        choose(place, kEdit);
        moveTo(victim);
        m_engine.deactivateTool();
        sendDelete();
        EXPECT_TRUE(exists(name)) << "it sleeps";
        callSlot(slot);
        sendDelete();
        EXPECT_FALSE(exists(name)) << slot;
        m_host.deliver();
        m_host.click(m_tool);
        draw();
    }
}

TEST_F(RegionTool, KnowsTheLastRegionUnderThePointerAlsoWhenItsPickerHasGone) {
    choose(onArea(), kEdit);
    moveTo(onPolygon());
    m_engine.deactivateTool();
    draw();
    ASSERT_EQ(m_host.pickerCount(), 0);
    callSlot("SlotClose");
    sendDelete();
    EXPECT_FALSE(exists("高"));
    EXPECT_TRUE(exists("面"));
}

} // namespace
