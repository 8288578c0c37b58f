#include "workbench/viewer/EventTranslation.h"

#include <gtest/gtest.h>

#include <QKeyEvent>
#include <QMouseEvent>
#include <QWheelEvent>

#include <osgGA/EventQueue>

namespace {

using Adapter = osgGA::GUIEventAdapter;

class EventTranslationTest : public ::testing::Test {
protected:
    EventTranslationTest()
        : m_queue(new osgGA::EventQueue(Adapter::Y_INCREASING_UPWARDS)), m_events(*m_queue) {
        m_queue->windowResize(0, 0, 400, 300);
        m_queue->clear();
        m_events.setWindow(300, 1.0);
    }

    std::vector<osg::ref_ptr<Adapter>> taken() {
        osgGA::EventQueue::Events events;
        m_queue->takeEvents(events);
        std::vector<osg::ref_ptr<Adapter>> adapters;
        for (const auto& event : events) {
            if (Adapter* adapter = event->asGUIEventAdapter()) {
                adapters.emplace_back(adapter);
            }
        }
        return adapters;
    }

    osg::ref_ptr<osgGA::EventQueue> m_queue;
    EventTranslation m_events;
};

QMouseEvent mouseEvent(QEvent::Type type, const QPointF& position, Qt::MouseButton button,
                       Qt::KeyboardModifiers modifiers = Qt::NoModifier) {
    return {type, position, position, button, button, modifiers};
}

TEST_F(EventTranslationTest, PressCarriesPixelsWithYUpwardsButtonAndModifiers) {
    m_events.mousePress(mouseEvent(QEvent::MouseButtonPress, {10, 20}, Qt::RightButton, Qt::ShiftModifier));
    const auto events = taken();
    ASSERT_EQ(events.size(), 1U);
    EXPECT_EQ(events[0]->getEventType(), Adapter::PUSH);
    EXPECT_FLOAT_EQ(events[0]->getX(), 10.0F);
    EXPECT_FLOAT_EQ(events[0]->getY(), 279.0F);
    EXPECT_EQ(events[0]->getButton(), Adapter::RIGHT_MOUSE_BUTTON);
    EXPECT_EQ(events[0]->getModKeyMask(), Adapter::MODKEY_LEFT_SHIFT);
}

TEST_F(EventTranslationTest, HighResolutionScreensGiveDevicePixels) {
    m_events.setWindow(600, 2.0);
    m_events.mouseMove(mouseEvent(QEvent::MouseMove, {10, 20}, Qt::NoButton));
    const auto events = taken();
    ASSERT_EQ(events.size(), 1U);
    EXPECT_FLOAT_EQ(events[0]->getX(), 20.0F);
    EXPECT_FLOAT_EQ(events[0]->getY(), 559.0F);
}

TEST_F(EventTranslationTest, MoveWithHeldButtonIsADrag) {
    m_events.mousePress(mouseEvent(QEvent::MouseButtonPress, {10, 20}, Qt::LeftButton));
    m_events.mouseMove(mouseEvent(QEvent::MouseMove, {12, 20}, Qt::NoButton));
    m_events.mouseRelease(mouseEvent(QEvent::MouseButtonRelease, {12, 20}, Qt::LeftButton));
    m_events.mouseMove(mouseEvent(QEvent::MouseMove, {14, 20}, Qt::NoButton));
    const auto events = taken();
    ASSERT_EQ(events.size(), 4U);
    EXPECT_EQ(events[1]->getEventType(), Adapter::DRAG);
    EXPECT_EQ(events[2]->getEventType(), Adapter::RELEASE);
    EXPECT_EQ(events[3]->getEventType(), Adapter::MOVE);
}

TEST_F(EventTranslationTest, ModifierAndEditingKeysHaveX11Symbols) {
    const auto symbol = [](Qt::Key key, Qt::KeyboardModifiers modifiers = Qt::NoModifier) {
        return osgKeySymbol(QKeyEvent(QEvent::KeyPress, key, modifiers));
    };
    EXPECT_EQ(symbol(Qt::Key_Control), 65507);
    EXPECT_EQ(symbol(Qt::Key_Shift), 65505);
    EXPECT_EQ(symbol(Qt::Key_Delete), 65535);
    EXPECT_EQ(symbol(Qt::Key_A), 'a');
    EXPECT_EQ(symbol(Qt::Key_A, Qt::ShiftModifier), 'A');
    EXPECT_EQ(symbol(Qt::Key_7), '7');
    EXPECT_EQ(symbol(Qt::Key_MediaPlay), 0);
}

TEST_F(EventTranslationTest, SmallWheelMovementsAddUpToOneNotch) {
    const auto turn = [this](int eighths) {
        m_events.wheel(QWheelEvent({5, 5}, {5, 5}, {}, {0, eighths}, Qt::NoButton, Qt::NoModifier,
                                   Qt::NoScrollPhase, false));
    };
    turn(60);
    EXPECT_TRUE(taken().empty());
    turn(60);
    const auto events = taken();
    ASSERT_EQ(events.size(), 1U);
    EXPECT_EQ(events[0]->getScrollingMotion(), Adapter::SCROLL_UP);
    turn(-240);
    EXPECT_EQ(taken().size(), 2U);
}

} // namespace
