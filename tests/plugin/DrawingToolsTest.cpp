// The drawing tools between activation and the end of their dialogs.
#include "tests/plugin/ProjectFixture.h"

#include "host/inspection/StationWindow.h"

#include <QApplication>
#include <QMenu>
#include <QPushButton>
#include <QTest>

#include <osgEarth/GLUtils>
#include <osgViewer/View>

using osgGA::GUIEventAdapter;

namespace {

struct DrawingTool {
    const char* name;
    const char* group;
    const char* drawMessage;
    const char* removeMessage;
};

constexpr DrawingTool kDrawingTools[] = {{"添加特殊点", "ROIPoint", "drawStationPoint", "removeStationPoint"},
                                         {"添加特殊面", "ROIArea", "drawspecialarea", "removespecialarea"}};

bool hasGlobalDefaults(const osg::Group& group) {
    const osg::ref_ptr<osg::StateSet> expected = new osg::StateSet;
    osgEarth::GLUtils::setGlobalDefaults(expected);
    const osg::StateSet* states = group.getStateSet();
    if (!states || states->getModeList() != expected->getModeList()) {
        return false;
    }
    for (const auto& [type, attribute] : expected->getAttributeList()) {
        if (!states->getAttribute(type.first, type.second)) {
            return false;
        }
    }
    return !expected->getAttributeList().empty();
}

/// Presses and releases the left button in the middle of the globe, by events for the handler alone.
void clickThrough(PluginHost& host, const char* tool) {
    auto& view = *dynamic_cast<osgGA::GUIActionAdapter*>(host.globe->getViewer());
    for (const GUIEventAdapter::EventType type : {GUIEventAdapter::PUSH, GUIEventAdapter::RELEASE}) {
        const osg::ref_ptr<GUIEventAdapter> event = new GUIEventAdapter;
        event->setEventType(type);
        event->setButton(GUIEventAdapter::LEFT_MOUSE_BUTTON);
        event->setX(static_cast<float>(host.globe->width()) / 2.0F);
        event->setY(static_cast<float>(host.globe->height()) / 2.0F);
        EXPECT_FALSE(host.handler(tool).handle(*event, view)) << tool;
    }
}

/// While it lives, closes each menu that opens and keeps its entries.
class MenuCloser {
public:
    MenuCloser() {
        QObject::connect(&m_poll, &QTimer::timeout, [this] {
            auto* menu = qobject_cast<QMenu*>(QApplication::activePopupWidget());
            if (!menu) {
                return;
            }
            for (const QAction* action : menu->actions()) {
                entries << action->text();
            }
            QTest::keyClick(menu, Qt::Key_Escape);
        });
        m_poll.start(5);
    }
    QStringList entries;

private:
    QTimer m_poll;
};

TEST_F(OnAProject, GroupsOfTheDrawingToolsGetTheGlobalDefaultsWhenTheyComeAndWhenTheyGo) {
    for (const DrawingTool& tool : kDrawingTools) {
        m_host.click(tool.name);
        m_host.deliver();
        ASSERT_FALSE(m_host.groupsNamed(tool.group).empty()) << tool.name;
        const osg::ref_ptr<osg::Group> group = m_host.groupsNamed(tool.group).back();
        EXPECT_TRUE(hasGlobalDefaults(*group)) << tool.name;

        group->setStateSet(nullptr);
        m_host.handler(tool.name).OnMessage(tool.drawMessage);
        EXPECT_TRUE(hasGlobalDefaults(*group)) << tool.drawMessage;
        group->setStateSet(nullptr);
        m_host.handler(tool.name).OnMessage(tool.removeMessage);
        EXPECT_TRUE(hasGlobalDefaults(*group)) << tool.removeMessage;
        EXPECT_FALSE(m_host.globe->getMapNode()->containsNode(group)) << tool.name;
        m_host.click(tool.name);
    }
}

TEST_F(OnAProject, TheDrawingToolsPostNothingWhenTheyAreLeftAndTheirGroupsStay) {
    for (const DrawingTool& tool : kDrawingTools) {
        m_host.click(tool.name);
        m_host.deliver();
        const auto groups = m_host.groupsNamed(tool.group);
        ASSERT_FALSE(m_handlers.hasMessages()) << tool.name;
        m_host.click(tool.name);
        EXPECT_FALSE(m_handlers.hasMessages()) << tool.name;
        m_host.deliver();
        EXPECT_EQ(m_host.groupsNamed(tool.group), groups) << tool.name;
        m_host.handler(tool.name).OnMessage(tool.removeMessage);
    }
}

TEST_F(OnAProject, ADrawingToolThatWasLeftTakesNoMoreClicks) {
    for (const DrawingTool& tool : kDrawingTools) {
        m_host.click(tool.name);
        m_host.settle();
        osg::Group* group = m_host.groupsNamed(tool.group).back();
        ASSERT_EQ(group->getNumChildren(), 0U);
        m_host.click(tool.name);
        clickThrough(m_host, tool.name);
        EXPECT_EQ(group->getNumChildren(), 0U) << tool.name;

        m_host.click(tool.name);
        m_host.settle();
        group = m_host.groupsNamed(tool.group).back();
        clickThrough(m_host, tool.name);
        EXPECT_EQ(group->getNumChildren(), 1U) << tool.name << ": the same clicks while it runs";
        m_host.click(tool.name);
        m_host.handler(tool.name).OnMessage(tool.removeMessage);
    }
}

TEST_F(OnAProject, AWarningIsABoxOfTheMainWindowAndALineOfTheStandardOutput) {
    m_host.click("添加特殊点");
    m_host.settle();
    const DialogCloser closer;
    testing::internal::CaptureStdout();
    QTest::mouseClick(visibleWindow("CDrawPointDlg")->findChild<QPushButton*>("pushButtonOK"),
                      Qt::LeftButton);
    // GBK: 请先绘制特殊点
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "\307\353\317\310\273\346\326\306\314\330\312\342\265\343\n");
    EXPECT_EQ(closer.objectNames, QStringList{"myMessageBox"});
    EXPECT_EQ(closer.titles, QStringList{"提示"});
    EXPECT_EQ(closer.parents, QList<QWidget*>{&m_host.window});
}

TEST_F(OnAProject, TheMenuOfThePointToolOpensByItsSignalAndOffersToDelete) {
    const MenuCloser closer;
    ASSERT_TRUE(QMetaObject::invokeMethod(&m_host.command("添加特殊点"), "signal_eidtpt"));
    EXPECT_EQ(closer.entries, QStringList{"删除"});
}

TEST_F(OnAProject, TheMessageDeletedrawableTakesThePickedRegionOffTheGlobeOnly) {
    const QPoint aside(180, 120); // where no other test leaves anything
    addArea("hospital", aside);
    const std::size_t areas = m_host.groupsNamed("ROIArea").size();
    m_host.click("编辑特殊区域");
    m_host.settle();
    const MenuCloser closer;
    for (int attempt = 0; attempt < 10 && closer.entries.isEmpty(); ++attempt) {
        clickOnGlobe(aside.x() + attempt % 3, aside.y(),
                     Qt::RightButton); // the picker answers some frames later
    }
    ASSERT_EQ(closer.entries, QStringList({"删除", "编辑"}));
    m_host.handler("编辑特殊区域").OnMessage("deletedrawable");
    EXPECT_EQ(m_host.groupsNamed("ROIArea").size(), areas - 1);
    EXPECT_TRUE(InspectionContext::instance().GetStationWindow()->isReiterated_node("hospital"))
        << "it is still stored";
}

} // namespace
