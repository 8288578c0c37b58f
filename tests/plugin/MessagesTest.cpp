#include "tests/plugin/PluginHost.h"
#include "tests/support/Pointer.h"
#include "tests/support/WaitUntil.h"

#include <QApplication>

#include <osgViewer/View>

namespace {

using osgGA::GUIEventAdapter;
using Messages = PluginTest;

constexpr const char* kInteractive[] = {"查看\\编辑异常", "编辑特殊区域", "添加特殊点", "添加特殊面"};
constexpr GUIEventAdapter::EventType kEvents[] = {
    GUIEventAdapter::PUSH,    GUIEventAdapter::RELEASE, GUIEventAdapter::DRAG,        GUIEventAdapter::MOVE,
    GUIEventAdapter::KEYDOWN, GUIEventAdapter::KEYUP,   GUIEventAdapter::DOUBLECLICK, GUIEventAdapter::FRAME};

TEST_F(Messages, AddPickIsForTheAnomalyToolAndLowerCaseAddpickForTheRegionTool) {
    m_host.handler("编辑特殊区域").OnMessage("addPick");
    m_host.handler("查看\\编辑异常").OnMessage("addpick");
    EXPECT_EQ(m_host.pickerCount(), 0) << "neither knows the other's spelling";

    m_host.handler("查看\\编辑异常").OnMessage("addPick");
    EXPECT_EQ(m_host.pickerCount(), 1);
    m_host.handler("编辑特殊区域").OnMessage("addpick");
    EXPECT_EQ(m_host.pickerCount(), 2);

    m_host.handler("查看\\编辑异常").OnMessage("removePick");
    EXPECT_EQ(m_host.pickerCount(), 1);
    m_host.handler("编辑特殊区域").OnMessage("removePick");
    EXPECT_EQ(m_host.pickerCount(), 0);
}

TEST_F(Messages, RemovingAPickerThatWasNeverAddedDoesNothing) {
    for (const char* tool : kInteractive) {
        m_host.handler(tool).OnMessage("removePick");
    }
    EXPECT_EQ(m_host.pickerCount(), 0);
}

TEST_F(Messages, UnknownOnesAreIgnoredByEveryHandler) {
    const unsigned children = m_host.globe->getMapNode()->getNumChildren();
    const std::size_t eventHandlers = m_host.globe->getViewer()->getEventHandlers().size();
    testing::internal::CaptureStdout();
    for (const std::string& name : m_handlers.names()) {
        for (const char* message :
             {"", "ADDPICK", "addPick ", "frameselect", "drawstationpoint", "nobody knows this"}) {
            m_handlers.find(name)->OnMessage(message);
        }
    }
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
    EXPECT_EQ(QApplication::activeModalWidget(), nullptr);
    EXPECT_EQ(m_host.globe->getMapNode()->getNumChildren(), children);
    EXPECT_EQ(m_host.globe->getViewer()->getEventHandlers().size(), eventHandlers);
    EXPECT_FALSE(m_handlers.hasMessages()) << "no answer either";
}

TEST_F(Messages, AToolThatIsNotRunningConsumesNoEventAndDoesNothing) {
    const unsigned children = m_host.globe->getMapNode()->getNumChildren();
    for (const char* tool : kInteractive) {
        for (const GUIEventAdapter::EventType type : kEvents) {
            EXPECT_FALSE(m_host.handle(m_host.handler(tool), type)) << tool << ' ' << type;
            EXPECT_EQ(m_host.globe->getMapNode()->getNumChildren(), children) << tool << ' ' << type;
            EXPECT_FALSE(m_handlers.hasMessages()) << tool << ' ' << type;
        }
    }
}

/// Size of the picture that a picker draws to see what is under the pointer; empty before there is one.
QSize pickCameraSize(osgViewer::View& view) {
    for (unsigned index = 0; index < view.getNumSlaves(); ++index) {
        auto& attachments = view.getSlave(index)._camera->getBufferAttachmentMap();
        const auto colour = attachments.find(osg::Camera::COLOR_BUFFER0);
        if (colour != attachments.end() && colour->second._image) {
            return {colour->second._image->s(), colour->second._image->t()};
        }
    }
    return {};
}

TEST_F(Messages, ThePickersDrawASquareOf256Pixels) {
    for (const char* tool : {"查看\\编辑异常", "编辑特殊区域"}) {
        m_host.click(tool);
        m_host.settle();
        movePointer(*m_host.globe, m_host.globe->rect().center());
        ASSERT_TRUE(waitUntil([&] { return !pickCameraSize(*m_host.globe->getViewer()).isEmpty(); })) << tool;
        EXPECT_EQ(pickCameraSize(*m_host.globe->getViewer()), QSize(256, 256)) << tool;
        m_host.click(tool);
        m_host.settle();
    }
}

TEST_F(Messages, ARunningToolConsumesNoEventEither) {
    m_host.click("编辑特殊区域");
    m_host.deliver();
    for (const GUIEventAdapter::EventType type : kEvents) {
        EXPECT_FALSE(m_host.handle(m_host.handler("编辑特殊区域"), type)) << type;
    }
}

TEST_F(Messages, EventsWithoutAViewAreLeftAlone) {
    class NoView : public osgGA::GUIActionAdapter {
    public:
        void requestRedraw() override {}
        void requestContinuousUpdate(bool) override {}
        void requestWarpPointer(float, float) override {}
    };
    NoView adapter;
    const osg::ref_ptr<GUIEventAdapter> push = new GUIEventAdapter;
    push->setEventType(GUIEventAdapter::PUSH);
    push->setButton(GUIEventAdapter::LEFT_MOUSE_BUTTON);
    m_host.click("查看\\编辑异常");
    const unsigned children = m_host.globe->getMapNode()->getNumChildren();
    EXPECT_FALSE(m_host.handler("查看\\编辑异常").handle(*push, adapter));
    EXPECT_EQ(m_host.globe->getMapNode()->getNumChildren(), children);
}

TEST_F(Messages, TheFrameGroupIsTakenOutAndPutBackByItsOwnMessages) {
    m_host.click("查看\\编辑异常");
    m_host.deliver();
    ASSERT_EQ(m_host.groupsNamed("FrameSelect").size(), 1U);
    m_host.handler("查看\\编辑异常").OnMessage("RemoveFrameSelect");
    EXPECT_TRUE(m_host.groupsNamed("FrameSelect").empty());
    EXPECT_TRUE(m_handlers.hasMessages()) << "it asks for the group again";
    m_host.deliver();
    EXPECT_EQ(m_host.groupsNamed("FrameSelect").size(), 1U);
}

} // namespace
