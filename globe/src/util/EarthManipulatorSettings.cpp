#include <osgEarthUtil/EarthManipulator>

#include <osgGA/GUIEventAdapter>

#include <algorithm>

namespace osgEarth {
namespace Util {
namespace {

using osgGA::GUIEventAdapter;

constexpr double kLowestPitchDegrees = -90.0; // a pose keeps its heading even straight down
constexpr double kHighestPitchDegrees = 89.9;

int withoutLocks(int modifiers) {
    return modifiers & ~(GUIEventAdapter::MODKEY_NUM_LOCK | GUIEventAdapter::MODKEY_CAPS_LOCK);
}

// A mask of both keys of a kind stands for the left, the right and both of them.
std::vector<int> alternativesOf(int mask) {
    std::vector<int> masks = {withoutLocks(mask)};
    for (const int both :
         {static_cast<int>(GUIEventAdapter::MODKEY_SHIFT), static_cast<int>(GUIEventAdapter::MODKEY_CTRL),
          static_cast<int>(GUIEventAdapter::MODKEY_ALT), static_cast<int>(GUIEventAdapter::MODKEY_META)}) {
        if ((mask & both) != both) {
            continue;
        }
        const int left = both & -both; // the lowest bit
        const std::size_t count = masks.size();
        for (std::size_t i = 0; i < count; ++i) {
            const int present = masks[i]; // a copy: the vector grows
            masks.push_back(present & ~left);
            masks.push_back(present & ~(both & ~left));
        }
    }
    return masks;
}

} // namespace

osg::ref_ptr<EarthManipulator::Settings> EarthManipulator::Settings::withDefaultBindings() {
    osg::ref_ptr<Settings> settings = new Settings();
    ActionOptions continuous;
    continuous.add(OPTION_CONTINUOUS, true);
    settings->bindMouse(ACTION_PAN, GUIEventAdapter::LEFT_MOUSE_BUTTON);
    settings->bindMouse(ACTION_ROTATE, GUIEventAdapter::MIDDLE_MOUSE_BUTTON);
    settings->bindMouse(ACTION_ROTATE,
                        GUIEventAdapter::LEFT_MOUSE_BUTTON | GUIEventAdapter::RIGHT_MOUSE_BUTTON);
    settings->bindMouse(ACTION_ZOOM, GUIEventAdapter::RIGHT_MOUSE_BUTTON, 0, continuous);
    settings->bindScroll(ACTION_ZOOM_IN, GUIEventAdapter::SCROLL_DOWN);
    settings->bindScroll(ACTION_ZOOM_OUT, GUIEventAdapter::SCROLL_UP);
    settings->bindKey(ACTION_PAN_LEFT, GUIEventAdapter::KEY_Left);
    settings->bindKey(ACTION_PAN_RIGHT, GUIEventAdapter::KEY_Right);
    settings->bindKey(ACTION_PAN_UP, GUIEventAdapter::KEY_Up);
    settings->bindKey(ACTION_PAN_DOWN, GUIEventAdapter::KEY_Down);
    settings->bindKey(ACTION_HOME, GUIEventAdapter::KEY_Space);
    ActionOptions nearer;
    nearer.add(OPTION_GOTO_RANGE_FACTOR, 0.4);
    nearer.add(OPTION_DURATION, 1.0);
    ActionOptions farther;
    farther.add(OPTION_GOTO_RANGE_FACTOR, 2.5);
    farther.add(OPTION_DURATION, 1.0);
    settings->bindMouseDoubleClick(ACTION_GOTO, GUIEventAdapter::LEFT_MOUSE_BUTTON, 0, nearer);
    settings->bindMouseDoubleClick(ACTION_GOTO, GUIEventAdapter::RIGHT_MOUSE_BUTTON, 0, farther);
    settings->bindMouseDoubleClick(ACTION_GOTO, GUIEventAdapter::LEFT_MOUSE_BUTTON,
                                   GUIEventAdapter::MODKEY_CTRL, farther);
    return settings;
}

double EarthManipulator::ActionOptions::get(ActionOptionType option, double fallback) const {
    const auto found =
        std::find_if(rbegin(), rend(), [&](const ActionOption& entry) { return entry.option == option; });
    return found != rend() ? found->number : fallback;
}

void EarthManipulator::Settings::bind(int eventType, int input, int modifiers, ActionType action,
                                      const ActionOptions& options) {
    for (const int mask : alternativesOf(modifiers)) {
        m_bindings[Key(eventType, input, mask)] = Action{action, options};
    }
}

void EarthManipulator::Settings::bindMouse(ActionType action, int button_mask, int modkey_mask,
                                           const ActionOptions& options) {
    bind(GUIEventAdapter::DRAG, button_mask, modkey_mask, action, options);
}

void EarthManipulator::Settings::bindMouseClick(ActionType action, int button_mask, int modkey_mask,
                                                const ActionOptions& options) {
    bind(GUIEventAdapter::RELEASE, button_mask, modkey_mask, action, options);
}

void EarthManipulator::Settings::bindMouseDoubleClick(ActionType action, int button_mask, int modkey_mask,
                                                      const ActionOptions& options) {
    bind(GUIEventAdapter::DOUBLECLICK, button_mask, modkey_mask, action, options);
}

void EarthManipulator::Settings::bindKey(ActionType action, int key, int modkey_mask,
                                         const ActionOptions& options) {
    bind(GUIEventAdapter::KEYDOWN, key, modkey_mask, action, options);
}

void EarthManipulator::Settings::bindScroll(ActionType action, int motion, int modkey_mask,
                                            const ActionOptions& options) {
    bind(GUIEventAdapter::SCROLL, motion, modkey_mask, action, options);
}

EarthManipulator::Action EarthManipulator::Settings::find(int eventType, int input, int modifiers) const {
    const auto found = m_bindings.find(Key(eventType, input, withoutLocks(modifiers)));
    return found != m_bindings.end() ? found->second : Action();
}

void EarthManipulator::Settings::setMinMaxPitch(double minDegrees, double maxDegrees) {
    const auto [lower, upper] = std::minmax(minDegrees, maxDegrees);
    m_minPitch = osg::clampBetween(lower, kLowestPitchDegrees, kHighestPitchDegrees);
    m_maxPitch = osg::clampBetween(upper, kLowestPitchDegrees, kHighestPitchDegrees);
}

void EarthManipulator::Settings::setMinMaxDistance(double min, double max) {
    m_minDistance = std::max(0.01, std::min(min, max));
    m_maxDistance = std::max(min, max);
}

} // namespace Util
} // namespace osgEarth
