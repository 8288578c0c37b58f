// What lies under the pointer, and which clicks and keys reach it.

#include "region/PickCallback_other.h"
#include "tests/plugin/region/RegionFixture.h"

#include <QTest>

#include <osgEarth/ObjectIndex>
#include <osgEarth/Registry>
#include <osgEarthSymbology/PolygonSymbol>
#include <osgViewer/View>

using osgGA::GUIEventAdapter;

namespace {

/// Two regions in the index, and a callback.
class RegionPickAnswers : public PluginTest {
protected:
    RegionPickAnswers() {
        m_regionId = osgEarth::Registry::objectIndex()->tagNode(m_region, m_region);
        m_otherId = osgEarth::Registry::objectIndex()->tagNode(m_other, m_other);
    }
    ~RegionPickAnswers() override {
        osgEarth::Registry::objectIndex()->remove(m_regionId);
        osgEarth::Registry::objectIndex()->remove(m_otherId);
    }
    int regionId() const { return static_cast<int>(m_regionId); }
    osgEarth::Picker::Callback& answers() { return *m_callback->asPickerCallback(); }
    bool accepts(GUIEventAdapter::EventType type) {
        const osg::ref_ptr<GUIEventAdapter> event = new GUIEventAdapter;
        event->setEventType(type);
        return answers().accept(*event, *dynamic_cast<osgGA::GUIActionAdapter*>(m_host.globe->getViewer()));
    }

    osg::ref_ptr<osg::Group> m_region = new osg::Group;
    osg::ref_ptr<osg::Group> m_other = new osg::Group;
    osgEarth::ObjectID m_regionId = 0;
    osgEarth::ObjectID m_otherId = 0;
    PickCallback_other* m_callback = new PickCallback_other;
    const osg::ref_ptr<osgEarth::Picker::Callback> m_owner = m_callback->asPickerCallback();
};

TEST_F(RegionPickAnswers, AHitOnARegionIsKeptAndAMissForgetsIt) {
    EXPECT_EQ(m_callback->m_pickedId, -999);
    answers().onHit(m_regionId);
    EXPECT_EQ(m_callback->m_pickedId, regionId());
    answers().onMiss();
    EXPECT_EQ(m_callback->m_pickedId, -999);
}

TEST_F(RegionPickAnswers, AnIdThatNobodyHasOrThatIsNoGroupLeavesItAsItWas) {
    answers().onHit(m_regionId);
    answers().onHit(987654321);
    EXPECT_EQ(m_callback->m_pickedId, regionId());
    const osg::ref_ptr<osg::Image> image = new osg::Image;
    const osgEarth::ObjectID noGroup = osgEarth::Registry::objectIndex()->insert(image);
    answers().onHit(noGroup);
    EXPECT_EQ(m_callback->m_pickedId, regionId());
    osgEarth::Registry::objectIndex()->remove(noGroup);
}

TEST_F(RegionPickAnswers, WhileItIsLockedHitsChangeNothingButAMissDoes) {
    answers().onHit(m_regionId);
    m_callback->m_locked = 1;
    answers().onHit(m_otherId);
    EXPECT_EQ(m_callback->m_pickedId, regionId());
    answers().onMiss();
    EXPECT_EQ(m_callback->m_pickedId, -999);
    answers().onHit(m_regionId);
    EXPECT_EQ(m_callback->m_pickedId, -999);
}

TEST_F(RegionPickAnswers, OnlyMovesWithoutAButtonArePicked) {
    EXPECT_TRUE(accepts(GUIEventAdapter::MOVE));
    for (const auto type : {GUIEventAdapter::DRAG, GUIEventAdapter::PUSH, GUIEventAdapter::RELEASE,
                            GUIEventAdapter::DOUBLECLICK, GUIEventAdapter::KEYDOWN, GUIEventAdapter::KEYUP,
                            GUIEventAdapter::FRAME, GUIEventAdapter::SCROLL, GUIEventAdapter::RESIZE}) {
        EXPECT_FALSE(accepts(type)) << type;
    }
}

using RegionPicking = RegionTest;

TEST_F(RegionPicking, ARightClickOnEachKindOpensTheMenuAndOnNothingDoesNot) {
    for (const QPoint& place : {onArea(), onPolygon(), onPoint()}) {
        const MenuChooser menus;
        rightClick(place);
        ASSERT_EQ(menus.menus.size(), 1U);
        EXPECT_EQ(menus.menus[0], QStringList({"删除", "编辑"}));
    }
    EXPECT_EQ(menusAt(onNothing()), 0U);
}

TEST_F(RegionPicking, AReleaseThreePixelsAsideOpensTheMenuAndOneALittleFurtherDoesNot) {
    moveTo(onArea());
    const auto x = static_cast<float>(onArea().x());
    const auto y = static_cast<float>(m_host.globe->height() - 1 - onArea().y());
    const auto menusAfter = [&](float dx, float dy, float moved = 0.0F) {
        send(GUIEventAdapter::MOVE, x + moved, y + moved);
        const MenuChooser menus;
        send(GUIEventAdapter::RELEASE, x + dx, y + dy, GUIEventAdapter::RIGHT_MOUSE_BUTTON);
        return menus.menus.size();
    };
    EXPECT_EQ(menusAfter(3.0F, 0.0F), 1U);
    EXPECT_EQ(menusAfter(3.1F, 0.0F), 0U);
    EXPECT_EQ(menusAfter(-3.1F, 0.0F), 0U);
    EXPECT_EQ(menusAfter(0.0F, 3.0F), 1U);
    EXPECT_EQ(menusAfter(0.0F, 3.1F), 0U);
    EXPECT_EQ(menusAfter(0.0F, -80.0F), 1U) << "the test is one-sided on purpose";
    EXPECT_EQ(menusAfter(3.0F, 3.0F, 0.9F), 1U);
    EXPECT_EQ(menusAfter(3.5F, 0.0F, 0.9F), 0U) << "a move counts in whole pixels";
    EXPECT_EQ(menusAfter(0.0F, 3.5F, 0.9F), 0U);
}

TEST_F(RegionPicking, ADragKeepsTheRegionThatWasUnderThePointerBeforeIt) {
    moveTo(onArea());
    press(onArea());
    QTest::mouseMove(m_host.globe, onPolygon());
    draw(3);
    release(onPolygon());
    keyClick(Qt::Key_Delete);
    EXPECT_EQ(groupOf("面"), nullptr);
    EXPECT_NE(groupOf("高"), nullptr);
}

TEST_F(RegionPicking, OfTwoRegionsOnTopOfEachOtherTheOneThatIsSeenIsPicked) {
    Special_Polygon upper = region("上", KV_SPECIAL_AREA, 30, 30);
    upper.m_fillColor = {0.0F, 0.0F, 1.0F};
    upper.m_opacity = 1.0F;
    ASSERT_TRUE(stationWindow().AddAreaNode(upper));
    reopen();
    m_host.settle();
    const QPoint both = ground(34, 34); // beside the labels
    const QColor seen = m_host.globe->grabFramebuffer().pixelColor(both);
    EXPECT_EQ(menusAt(both), 1U);
    const bool isBlue = seen.blue() > seen.red() + 60;
    EXPECT_EQ(tree().currentItem()->text(0), isBlue ? "上" : "面") << seen.name().toStdString();
    EXPECT_TRUE(isBlue) << "the newer one lies on top";
}

TEST_F(RegionPicking, HoldingDeleteDeletesWhatComesUnderThePointerUntilItIsReleased) {
    moveTo(onArea());
    keyDown(Qt::Key_Delete);
    EXPECT_EQ(groupOf("面"), nullptr);
    moveTo(onPolygon());
    EXPECT_NE(groupOf("高"), nullptr) << "not before the key repeats";
    keyDown(Qt::Key_Delete);
    EXPECT_EQ(groupOf("高"), nullptr);
    moveTo(onPoint());
    keyUp(Qt::Key_Delete);
    keyClick(Qt::Key_X);
    EXPECT_TRUE(stationWindow().isReiterated_node("点"));
    keyDown(Qt::Key_Delete);
    EXPECT_FALSE(stationWindow().isReiterated_node("点"));
}

TEST_F(RegionPicking, WhileDeleteIsHeldAnyOtherKeyDeletesToo) {
    moveTo(onNothing());
    keyDown(Qt::Key_Delete);
    moveTo(onArea());
    keyDown(Qt::Key_X);
    EXPECT_EQ(groupOf("面"), nullptr);
    keyUp(Qt::Key_X);
}

TEST_F(RegionPicking, DeleteOverNothingDeletesNothing) {
    moveTo(onArea());
    moveTo(onNothing());
    keyClick(Qt::Key_Delete);
    EXPECT_NE(groupOf("面"), nullptr);
    EXPECT_EQ(readStored("select count(*) from special_area").value(0).toInt(), 1);
}

TEST_F(RegionPicking, AfterTheToolIsLeftNothingIsPickedAnyMore) {
    m_engine.deactivateTool();
    draw();
    EXPECT_EQ(m_host.pickerCount(), 0);
    EXPECT_EQ(menusAt(onArea()), 0U);
    moveTo(onArea());
    keyClick(Qt::Key_Delete);
    EXPECT_NE(groupOf("面"), nullptr);
}

} // namespace
