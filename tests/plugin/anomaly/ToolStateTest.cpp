// The anomaly tool as its host sees it: messages, button, picker, and which events belong to one click.

#include "tests/plugin/MessageRecorder.h"
#include "tests/plugin/PickCameras.h"
#include "tests/plugin/anomaly/AnomalyFixture.h"

#include <osgEarthUtil/EarthManipulator>
#include <osgViewer/View>

namespace {

using osgEarth::Util::EarthManipulator;
using osgGA::GUIEventAdapter;
using Messages = std::vector<std::string>;

class AnomalyToolState : public AnomalyTest {
protected:
    zeo::ITool& tool() const { return dynamic_cast<zeo::ITool&>(m_host.command(m_tool)); }
    QToolButton& button() const { return m_host.button(m_tool); }
};

TEST_F(AnomalyToolState, PostsItsMessagesInOrder) {
    MessageRecorder recorder;
    startTool();
    EXPECT_EQ(recorder.take(), (Messages{"addPick", "FrameSelect"}));
    keyDown(Qt::Key_Shift);
    leftClick(emptyGround());
    EXPECT_EQ(recorder.take(), (Messages{"RemoveFrameSelect", "FrameSelect"}));
    keyUp(Qt::Key_Shift);
    EXPECT_EQ(recorder.take(), (Messages{"RemoveFrameSelect", "FrameSelect"}));
    leftClick(emptyGround());
    EXPECT_EQ(recorder.take(), Messages());
    stopTool();
    EXPECT_EQ(recorder.take(), Messages{"removePick"});
}

TEST_F(AnomalyToolState, LeftWithItsButtonUpItRefusesTheNextActivation) {
    startTool();
    button().setChecked(false);
    tool().OnDeactivate();
    EXPECT_FALSE(button().isChecked());
    button().setChecked(true);
    tool().OnActivate();
    draw();
    EXPECT_FALSE(button().isChecked());
    leftClick(pixelOf(known::fill));
    EXPECT_TRUE(highlighted().isEmpty());
    EXPECT_EQ(valueLabel(), nullptr);

    button().setChecked(true);
    tool().OnDeactivate();
    tool().OnActivate();
    draw();
    EXPECT_TRUE(button().isChecked());
    leftClick(pixelOf(known::fill));
    EXPECT_EQ(highlighted(), QStringList{known::fill});
}

TEST_F(AnomalyToolState, PicksWithACameraOf256Pixels) {
    startTool();
    EXPECT_EQ(pickCameraPixels(*m_host.globe->getViewer()), (std::vector<int>{256}));
}

TEST_F(AnomalyToolState, AnswersCastsToItsBasesAndToNothingElse) {
    zeo::ICommand& command = m_host.command(m_tool);
    EXPECT_NE(command.qt_metacast("zeo::ToolPlugin"), nullptr);
    EXPECT_EQ(command.qt_metacast("CeditPolygon"), nullptr);
}

TEST_F(AnomalyToolState, AnyKeyTakesLeftCtrlFromTheGlobe) {
    auto* settings = m_host.globe->getManipulator()->getSettings();
    const auto ctrlAction = [settings] {
        return settings->find(GUIEventAdapter::KEYDOWN, GUIEventAdapter::KEY_Control_L, 0).type;
    };
    startTool();
    settings->bindKey(EarthManipulator::ACTION_PAN_LEFT, GUIEventAdapter::KEY_Control_L);
    ASSERT_EQ(ctrlAction(), EarthManipulator::ACTION_PAN_LEFT);
    keyClick(Qt::Key_X);
    EXPECT_EQ(static_cast<int>(ctrlAction()), 0);
    const auto eye = [this] {
        return m_host.globe->getViewer()->getCamera()->getInverseViewMatrix().getTrans();
    };
    const osg::Vec3d before = eye();
    keyClick(Qt::Key_Control);
    EXPECT_LT((eye() - before).length(), 0.01);
}

TEST_F(AnomalyToolState, ConsumesNoEventNotEvenWhenItOpensItsMenuAsksOrDraws) {
    startTool();
    leftClick(pixelOf(known::fill));
    const BoxAnswerer boxes(BoxAnswerer::No);
    const QPoint place = pixelOf(known::fill);
    for (const auto type :
         {GUIEventAdapter::MOVE, GUIEventAdapter::PUSH, GUIEventAdapter::DRAG, GUIEventAdapter::RELEASE,
          GUIEventAdapter::DOUBLECLICK, GUIEventAdapter::SCROLL, GUIEventAdapter::FRAME}) {
        EXPECT_FALSE(sendAt(type, place, GUIEventAdapter::LEFT_MOUSE_BUTTON)) << type;
    }
    {
        const MenuChooser menus;
        EXPECT_FALSE(sendAt(GUIEventAdapter::RELEASE, place, GUIEventAdapter::RIGHT_MOUSE_BUTTON));
        EXPECT_EQ(menus.menus.size(), 1U);
    }
    const int shift = GUIEventAdapter::KEY_Shift_L;
    for (const int key :
         std::vector<int>{GUIEventAdapter::KEY_Control_L, GUIEventAdapter::KEY_Delete, 'x', shift}) {
        EXPECT_FALSE(sendAt(GUIEventAdapter::KEYDOWN, place, 0, key)) << key;
        if (key != shift) {
            EXPECT_FALSE(sendAt(GUIEventAdapter::KEYUP, place, 0, key)) << key;
        }
    }
    EXPECT_EQ(boxes.texts.size(), 1);
    EXPECT_FALSE(sendAt(GUIEventAdapter::PUSH, place, GUIEventAdapter::LEFT_MOUSE_BUTTON));
    EXPECT_FALSE(sendAt(GUIEventAdapter::DRAG, place + QPoint(20, 20)));
    EXPECT_NE(frameNode(), nullptr);
    EXPECT_FALSE(sendAt(GUIEventAdapter::RELEASE, place, GUIEventAdapter::LEFT_MOUSE_BUTTON));
    EXPECT_FALSE(sendAt(GUIEventAdapter::KEYUP, place, 0, shift));
}

/// An event at some pixels from the middle of an anomaly, y upwards.
struct Step {
    GUIEventAdapter::EventType type;
    float dx;
    float dy;
    int button = 0;
    int key = 0;
};

struct ClickCase {
    const char* what;
    std::vector<Step> before;
    float dx;
    float dy;
    bool isClick;
};

constexpr int kLeftButton = GUIEventAdapter::LEFT_MOUSE_BUTTON;
constexpr int kShift = GUIEventAdapter::KEY_Shift_L;
constexpr int kDelete = GUIEventAdapter::KEY_Delete;

const Step kAway{GUIEventAdapter::MOVE, 50, -20};
const Step kPressAway{GUIEventAdapter::PUSH, 50, -20, kLeftButton};
const Step kShiftDown{GUIEventAdapter::KEYDOWN, 50, -20, 0, kShift};
const Step kDrag{GUIEventAdapter::DRAG, -20, 20};

const std::vector<ClickCase>& clickCases() {
    static const std::vector<ClickCase> cases{
        {"a move counts in whole pixels", {{GUIEventAdapter::MOVE, 0.9F, 0.9F}}, 3, 3, true},
        {"its x is cut off", {{GUIEventAdapter::MOVE, 0.9F, 0}}, 3.5F, 0, false},
        {"its y is cut off", {{GUIEventAdapter::MOVE, 0, 0.9F}}, 0, 3.5F, false},
        {"a move away", {kAway}, 0, 0, false},
        {"a left press", {kAway, {GUIEventAdapter::PUSH, 0, 0, kLeftButton}}, 0, 0, true},
        {"a left release", {kAway, kPressAway, {GUIEventAdapter::RELEASE, 0, 0, kLeftButton}}, 0, 0, true},
        {"Delete goes down", {kAway, {GUIEventAdapter::KEYDOWN, 0, 0, 0, kDelete}}, 0, 0, true},
        {"Shift goes down", {kAway, {GUIEventAdapter::KEYDOWN, 0, 0, 0, kShift}}, 0, 0, false},
        {"Shift goes up", {kAway, {GUIEventAdapter::KEYUP, 0, 0, 0, kShift}}, 0, 0, true},
        {"a drag without Shift", {kAway, kPressAway, {GUIEventAdapter::DRAG, 0, 0}}, 0, 0, false},
        {"a Shift drag gives its x", {kAway, kPressAway, kShiftDown, kDrag}, -20, -20, true},
        {"and not the x of the press", {kAway, kPressAway, kShiftDown, kDrag}, 50, -20, false},
        {"but keeps the y of the press", {kAway, kPressAway, kShiftDown, kDrag}, -20, 20, false},
    };
    return cases;
}

TEST_F(AnomalyToolState, MeasuresAClickFromThePositionThatItRemembersLast) {
    startTool();
    const BoxAnswerer boxes(BoxAnswerer::No);
    const QPoint middle = pixelOf(known::fill);
    const auto sendStep = [&](const Step& step) {
        send(step.type, static_cast<float>(middle.x()) + step.dx,
             static_cast<float>(m_host.globe->height() - 1 - middle.y()) + step.dy, step.button, step.key);
    };
    for (const ClickCase& click : clickCases()) {
        leftClick(emptyGround());
        leftClick(middle);
        ASSERT_EQ(highlighted(), QStringList{known::fill}) << click.what;
        for (const Step& step : click.before) {
            sendStep(step);
        }
        {
            const MenuChooser menus;
            sendStep({GUIEventAdapter::RELEASE, click.dx, click.dy, GUIEventAdapter::RIGHT_MOUSE_BUTTON});
            EXPECT_EQ(menus.menus.size(), click.isClick ? 1U : 0U) << click.what;
        }
        sendStep({GUIEventAdapter::RELEASE, 0, 0, kLeftButton});
        sendStep({GUIEventAdapter::KEYUP, 0, 0, 0, kShift});
        sendStep({GUIEventAdapter::KEYUP, 0, 0, 0, kDelete});
    }
}

} // namespace
