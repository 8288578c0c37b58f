#include "tests/foreign/ForeignFixture.h"

#include <array>
#include <iostream>
#include <random>

namespace {

using osgGA::GUIEventAdapter;

TEST_F(InAForeignHost, OneShotCommandsReachTheirOperations) {
    for (const char* name : {"计算异常", "输出报告", "输出shape", "参数设置", "正北视图", "撤销", "重做"}) {
        m_host.button(name).setEnabled(true);
        m_host.click(name);
        EXPECT_FALSE(m_host.button(name).isChecked()) << name;
    }
    EXPECT_EQ(m_host.calls,
              (QStringList{"PickCurrentShowItemsDiff", "OutPutReport", "OutPutShap", "OnSetPara"}));
}

TEST_F(InAForeignHost, AnomaliesArePickedMeasuredClassifiedShownAndDeleted) {
    clickTool(kLook);
    EXPECT_EQ(m_host.groupsNamed("FrameSelect"), 1U);
    hover(5);
    click(kLeft);
    EXPECT_EQ(m_host.highlighted(), (std::vector<std::size_t>{5}));
    EXPECT_EQ(m_host.valueLabel(), "1.25");
    m_host.keyDown(GUIEventAdapter::KEY_Control_L);
    hover(6);
    click(kLeft);
    m_host.keyUp(GUIEventAdapter::KEY_Control_L);
    EXPECT_EQ(m_host.highlighted(), (std::vector<std::size_t>{5, 6}));
    {
        const Chooser chooser("删除");
        click(kRight);
        EXPECT_TRUE(waitUntil([&] { return m_host.calls.contains("DeleteItems A5 A6"); }));
        EXPECT_EQ(chooser.menus, 1);
    }
    EXPECT_EQ(m_host.messages, QStringList{"是否删除变形信息?"});
    m_host.doubleClick(kLeft);
    m_host.release(kLeft);
    EXPECT_TRUE(waitUntil([&] {
        m_host.settle();
        return m_host.calls.contains("SetSelectedbycoor") && m_host.calls.contains("CreatZoomItem");
    }));
}

TEST_F(InAForeignHost, TheRectangleSelectsWhatItHolds) {
    clickTool(kLook);
    moveTo(4, 4);
    m_host.keyDown(GUIEventAdapter::KEY_Shift_L);
    m_host.press(kLeft);
    m_host.settle();
    moveTo(ForeignHost::kWidth - 4, ForeignHost::kHeight - 4);
    m_host.release(kLeft);
    m_host.keyUp(GUIEventAdapter::KEY_Shift_L);
    m_host.settle();
    EXPECT_EQ(m_host.highlighted().size(), ForeignHost::kAnomalies);
    clickTool(kLook);
    EXPECT_TRUE(m_host.highlighted().empty()) << "the tool was left";
}

TEST_F(InAForeignHost, APointIsPlacedNamedEditedAndDeleted) {
    clickTool(kPoint);
    moveTo(200, 40);
    click(kLeft);
    confirm("CDrawPointDlg", "valve");
    EXPECT_EQ(m_host.calls, QStringList{"AddPointNode valve"});
    EXPECT_EQ(m_host.messages, QStringList());
    clickTool(kEdit);
    hoverAt(200, 44);
    {
        const Chooser chooser("编辑");
        click(kRight);
        EXPECT_TRUE(waitUntil([&] { return dialog("CDrawPointDlg") != nullptr; }));
    }
    confirm("CDrawPointDlg", "7");
    EXPECT_TRUE(m_host.calls.contains("UpdataNode valve valve7")) << m_host.calls.join(", ").toStdString();
    m_host.keyDown(GUIEventAdapter::KEY_Delete);
    m_host.keyUp(GUIEventAdapter::KEY_Delete);
    EXPECT_TRUE(waitUntil([&] {
        m_host.settle();
        return m_host.calls.contains("DeleteNode valve7");
    }));
}

TEST_F(InAForeignHost, AnAreaIsDigitisedNamedAndStored) {
    clickTool(kArea);
    const std::size_t before = m_host.groupsNamed("ROIArea");
    EXPECT_GE(before, 1U);
    digitise({{30.0F, 20.0F}, {90.0F, 20.0F}, {90.0F, 60.0F}, {30.0F, 60.0F}});
    EXPECT_FALSE(m_host.button(kArea).isChecked());
    confirm("CdrawPolygonDlg", "school");
    EXPECT_EQ(m_host.calls, QStringList{"AddAreaNode school 4"});
}

/// Presses, drags, keys and changes of tool at random, faster than either thread can follow. What must hold
/// is checked by every operation of the host, and by ThreadSanitizer where the program is built with it.
TEST_F(InAForeignHost, AHastyUserMixesNoThreads) {
    const unsigned seed = std::random_device{}();
    std::cout << "seed " << seed << std::endl;
    std::mt19937 random(seed);
    const auto upTo = [&](int most) { return std::uniform_int_distribution<int>(0, most)(random); };
    const Chooser chooser("nothing");
#if defined(__SANITIZE_THREAD__)
    constexpr int kRounds = 6000;
#else
    constexpr int kRounds = 600;
#endif
    for (int round = 0; round < kRounds; ++round) {
        const int keys[] = {GUIEventAdapter::KEY_Control_L, GUIEventAdapter::KEY_Shift_L,
                            GUIEventAdapter::KEY_Delete};
        const int button = upTo(3) == 0 ? kRight : kLeft;
        switch (upTo(9)) {
        case 0:
            m_host.click(std::array{kLook, kEdit, kPoint, kArea}[static_cast<std::size_t>(upTo(3))]);
            break;
        case 1:
            m_host.keyDown(keys[upTo(2)]);
            break;
        case 2:
            m_host.keyUp(keys[upTo(2)]);
            break;
        case 3:
            m_host.doubleClick(button);
            m_host.release(button);
            break;
        case 4:
        case 5:
            m_host.press(button);
            break;
        case 6:
            m_host.release(button);
            break;
        default: {
            const osg::Vec2d at(upTo(static_cast<int>(ForeignHost::kWidth)),
                                upTo(static_cast<int>(ForeignHost::kHeight)));
            m_host.move(static_cast<float>(at.x()), static_cast<float>(at.y()));
            break;
        }
        }
        if (round % 5 == 0) {
            m_host.awaitFrame();
        }
        QApplication::processEvents();
    }
    // A key that comes up under another tool stays down for this one.
    m_host.leaveActiveTool();
    clickTool(kLook);
    for (const int key :
         {GUIEventAdapter::KEY_Control_L, GUIEventAdapter::KEY_Shift_L, GUIEventAdapter::KEY_Delete}) {
        m_host.keyUp(key);
    }
    m_host.release(kLeft);
    m_host.release(kRight);
    m_host.settle();
}

} // namespace
