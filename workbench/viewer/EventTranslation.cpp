#include "workbench/viewer/EventTranslation.h"

#include <QKeyEvent>
#include <QMouseEvent>
#include <QWheelEvent>

#include <osgGA/EventQueue>

#include <cstdlib>
#include <map>

namespace {

const std::map<int, int>& specialKeys() {
    using A = osgGA::GUIEventAdapter;
    static const std::map<int, int> keys = {
        {Qt::Key_Escape, A::KEY_Escape},
        {Qt::Key_Delete, A::KEY_Delete},
        {Qt::Key_Home, A::KEY_Home},
        {Qt::Key_End, A::KEY_End},
        {Qt::Key_Enter, A::KEY_KP_Enter},
        {Qt::Key_Return, A::KEY_Return},
        {Qt::Key_Backspace, A::KEY_BackSpace},
        {Qt::Key_Tab, A::KEY_Tab},
        {Qt::Key_Left, A::KEY_Left},
        {Qt::Key_Right, A::KEY_Right},
        {Qt::Key_Up, A::KEY_Up},
        {Qt::Key_Down, A::KEY_Down},
        {Qt::Key_PageUp, A::KEY_Page_Up},
        {Qt::Key_PageDown, A::KEY_Page_Down},
        {Qt::Key_Shift, A::KEY_Shift_L},
        {Qt::Key_Control, A::KEY_Control_L},
        {Qt::Key_Alt, A::KEY_Alt_L},
        {Qt::Key_Meta, A::KEY_Meta_L},
        {Qt::Key_Insert, A::KEY_Insert},
        {Qt::Key_Space, A::KEY_Space},
        {Qt::Key_F1, A::KEY_F1},
        {Qt::Key_F2, A::KEY_F2},
        {Qt::Key_F3, A::KEY_F3},
        {Qt::Key_F4, A::KEY_F4},
        {Qt::Key_F5, A::KEY_F5},
        {Qt::Key_F6, A::KEY_F6},
        {Qt::Key_F7, A::KEY_F7},
        {Qt::Key_F8, A::KEY_F8},
        {Qt::Key_F9, A::KEY_F9},
        {Qt::Key_F10, A::KEY_F10},
        {Qt::Key_F11, A::KEY_F11},
        {Qt::Key_F12, A::KEY_F12},
    };
    return keys;
}

unsigned modifierMask(Qt::KeyboardModifiers modifiers) {
    unsigned mask = 0;
    if (modifiers & Qt::ShiftModifier) {
        mask |= osgGA::GUIEventAdapter::MODKEY_LEFT_SHIFT;
    }
    if (modifiers & Qt::ControlModifier) {
        mask |= osgGA::GUIEventAdapter::MODKEY_LEFT_CTRL;
    }
    if (modifiers & Qt::AltModifier) {
        mask |= osgGA::GUIEventAdapter::MODKEY_LEFT_ALT;
    }
    if (modifiers & Qt::MetaModifier) {
        mask |= osgGA::GUIEventAdapter::MODKEY_LEFT_META;
    }
    return mask;
}

unsigned osgButton(Qt::MouseButton button) {
    switch (button) {
    case Qt::LeftButton:
        return 1;
    case Qt::MiddleButton:
        return 2;
    case Qt::RightButton:
        return 3;
    default:
        return 0;
    }
}

void setModifiers(osgGA::EventQueue& queue, Qt::KeyboardModifiers modifiers) {
    queue.getCurrentEventState()->setModKeyMask(static_cast<int>(modifierMask(modifiers)));
}

// The keyboard tells left from right where the platform passes X11 symbols through; synthetic events do not.
bool isX11ModifierSymbol(quint32 symbol) {
    return symbol >= osgGA::GUIEventAdapter::KEY_Shift_L && symbol <= osgGA::GUIEventAdapter::KEY_Hyper_R;
}

} // namespace

int osgKeySymbol(const QKeyEvent& event) {
    if (isX11ModifierSymbol(event.nativeVirtualKey())) {
        return static_cast<int>(event.nativeVirtualKey());
    }
    const auto special = specialKeys().find(event.key());
    if (special != specialKeys().end()) {
        return special->second;
    }
    const bool ascii = event.key() > 0x20 && event.key() < 0x7F;
    if (!ascii) {
        return 0;
    }
    const bool lowerCase =
        event.key() >= Qt::Key_A && event.key() <= Qt::Key_Z && !(event.modifiers() & Qt::ShiftModifier);
    return lowerCase ? event.key() - Qt::Key_A + 'a' : event.key();
}

void EventTranslation::setWindow(int heightPixels, qreal pixelRatio) {
    m_heightPixels = heightPixels;
    m_pixelRatio = pixelRatio;
}

float EventTranslation::deviceX(const QPointF& position) const {
    return static_cast<float>(position.x() * m_pixelRatio);
}

float EventTranslation::deviceY(const QPointF& position) const {
    return static_cast<float>(m_heightPixels - 1 - position.y() * m_pixelRatio);
}

void EventTranslation::mousePress(const QMouseEvent& event) {
    setModifiers(m_queue, event.modifiers());
    m_queue.mouseButtonPress(deviceX(event.position()), deviceY(event.position()), osgButton(event.button()));
}

void EventTranslation::mouseRelease(const QMouseEvent& event) {
    setModifiers(m_queue, event.modifiers());
    m_queue.mouseButtonRelease(deviceX(event.position()), deviceY(event.position()),
                               osgButton(event.button()));
}

void EventTranslation::mouseDoubleClick(const QMouseEvent& event) {
    setModifiers(m_queue, event.modifiers());
    m_queue.mouseDoubleButtonPress(deviceX(event.position()), deviceY(event.position()),
                                   osgButton(event.button()));
}

void EventTranslation::mouseMove(const QMouseEvent& event) {
    setModifiers(m_queue, event.modifiers());
    m_queue.mouseMotion(deviceX(event.position()), deviceY(event.position()));
}

void EventTranslation::wheel(const QWheelEvent& event) {
    setModifiers(m_queue, event.modifiers());
    m_queue.getCurrentEventState()->setX(deviceX(event.position()));
    m_queue.getCurrentEventState()->setY(deviceY(event.position()));
    constexpr int kStep = 120; // eighths of a degree in one notch of a wheel
    m_wheelRemainder += event.angleDelta().y();
    for (; std::abs(m_wheelRemainder) >= kStep; m_wheelRemainder -= m_wheelRemainder > 0 ? kStep : -kStep) {
        m_queue.mouseScroll(m_wheelRemainder > 0 ? osgGA::GUIEventAdapter::SCROLL_UP
                                                 : osgGA::GUIEventAdapter::SCROLL_DOWN);
    }
}

void EventTranslation::keyPress(const QKeyEvent& event) {
    setModifiers(m_queue, event.modifiers());
    if (const int symbol = osgKeySymbol(event)) {
        m_queue.keyPress(symbol);
    }
}

void EventTranslation::keyRelease(const QKeyEvent& event) {
    setModifiers(m_queue, event.modifiers());
    if (const int symbol = osgKeySymbol(event)) {
        m_queue.keyRelease(symbol);
    }
}
