#include "tests/plugin/PluginHost.h"
#include "tests/support/Pointer.h"

#include "host/Gbk.h"

#include <QSignalSpy>

namespace {

using osgGA::GUIEventAdapter;

class Tools : public PluginTest {
protected:
    QString tipAfterClick(const char* tool) {
        QSignalSpy tips(&m_engine, &zeo::EngineContext::statusTipChanged);
        m_host.click(tool);
        return tips.isEmpty() ? QString() : tips.last()[0].toString();
    }
};

TEST_F(Tools, AClickMakesTheirHandlerTheActiveOneAndShowsTheirTip) {
    EXPECT_EQ(tipAfterClick("查看\\编辑异常"), QStringLiteral("查看\\编辑当前显示区域的异常信息"));
    EXPECT_EQ(m_handlers.activeHandler(), &m_host.handler("查看\\编辑异常"));
    EXPECT_EQ(tipAfterClick("编辑特殊区域"), QStringLiteral("编辑高后果区、特殊面、特殊点"));
    EXPECT_EQ(m_handlers.activeHandler(), &m_host.handler("编辑特殊区域"));
    EXPECT_EQ(tipAfterClick("添加特殊点"), QStringLiteral("添加特殊点"));
    EXPECT_EQ(m_handlers.activeHandler(), &m_host.handler("添加特殊点"));
    EXPECT_EQ(tipAfterClick("添加特殊面"), QStringLiteral("添加特殊面"));
    EXPECT_EQ(m_handlers.activeHandler(), &m_host.handler("添加特殊面"));
}

TEST_F(Tools, ThePickersComeAndGoBetweenFramesOnly) {
    for (const char* tool : {"查看\\编辑异常", "编辑特殊区域"}) {
        m_host.click(tool);
        EXPECT_EQ(m_host.pickerCount(), 0) << tool << ": not before the frame loop delivers the message";
        m_host.deliver();
        EXPECT_EQ(m_host.pickerCount(), 1) << tool;
        EXPECT_TRUE(m_host.button(tool).isChecked()) << tool;

        m_host.click(tool);
        EXPECT_EQ(m_host.pickerCount(), 1) << tool;
        m_host.deliver();
        EXPECT_EQ(m_host.pickerCount(), 0) << tool;
        EXPECT_FALSE(m_host.button(tool).isChecked()) << tool;
    }
}

TEST_F(Tools, StartAgainAfterEveryStop) {
    for (int round = 0; round < 3; ++round) {
        for (const char* tool : {"查看\\编辑异常", "编辑特殊区域"}) {
            m_host.click(tool);
            m_host.deliver();
            EXPECT_TRUE(m_host.button(tool).isChecked()) << tool << ' ' << round;
            EXPECT_EQ(m_host.pickerCount(), 1) << tool << ' ' << round;
        }
    }
    EXPECT_FALSE(m_host.button("查看\\编辑异常").isChecked());
}

TEST_F(Tools, LeftBeforeTheirPickerArrivedTheyLeaveNoneBehind) {
    m_host.click("编辑特殊区域");
    m_host.click("编辑特殊区域");
    m_host.click("查看\\编辑异常");
    m_host.click("查看\\编辑异常");
    m_host.deliver();
    EXPECT_EQ(m_host.pickerCount(), 0);
}

TEST_F(Tools, ThePickersSurviveFramesWithPointerMovement) {
    m_host.click("查看\\编辑异常");
    m_host.settle();
    for (int step = 0; step < 6; ++step) {
        movePointer(*m_host.globe, QPoint(200 + 10 * step, 200));
        m_host.settle();
    }
    EXPECT_EQ(m_host.pickerCount(), 1);
    m_host.click("查看\\编辑异常");
    m_host.settle();
    EXPECT_EQ(m_host.pickerCount(), 0);
}

TEST_F(Tools, EachActivationOfTheAnomalyToolBringsAFrameGroupOfItsOwn) {
    m_host.click("查看\\编辑异常");
    m_host.deliver();
    const auto first = m_host.groupsNamed("FrameSelect");
    ASSERT_EQ(first.size(), 1U);
    const osg::ref_ptr<osg::Group> kept = first.front();
    m_host.click("查看\\编辑异常");
    m_host.click("查看\\编辑异常");
    EXPECT_EQ(m_host.groupsNamed("FrameSelect"), first) << "not before the frame loop delivers the message";
    m_host.deliver();
    const auto second = m_host.groupsNamed("FrameSelect");
    ASSERT_EQ(second.size(), 1U);
    EXPECT_NE(second.front(), kept.get());
}

TEST_F(Tools, ThatDrawDoNotStartWithoutAProject) {
    for (const char* tool : {"添加特殊点", "添加特殊面"}) {
        const auto points = m_host.groupsNamed("ROIPoint");
        const auto areas = m_host.groupsNamed("ROIArea");
        m_host.click(tool);
        m_host.deliver();
        EXPECT_EQ(m_host.groupsNamed("ROIPoint"), points);
        EXPECT_EQ(m_host.groupsNamed("ROIArea"), areas);
        EXPECT_FALSE(m_host.handle(m_host.handler(tool), GUIEventAdapter::PUSH));
        m_host.click(tool);
        EXPECT_FALSE(m_host.button(tool).isChecked());
    }
}

} // namespace
