#pragma once

#include "plugin/Globe.h"
#include "plugin/ToolThreads.h"

#include <osg/ref_ptr>
#include <osgEarth/Picker>
#include <osgEarthUtil/RTTPicker>
#include <osgViewer/View>

#include <atomic>
#include <optional>
#include <utility>

/// A tool's hover picker: it comes with the tool's activation and goes with its deactivation, both by
/// messages. `Callback` is a widget and a picker callback in one: the GUI thread makes it and lets go of it,
/// the thread of the frames works with it.
template<typename Callback>
class HoverPicker {
public:
    explicit HoverPicker(ToolThreads& threads) : m_threads(threads) {}

    /// On the GUI thread, before the message that installs the picker.
    void announce() {
        m_isWanted = true;
        m_threads.onFrame([this, made = Held()] { m_next = made; });
    }
    /// Installed, or announced and not yet there. Any thread.
    bool isThereOrComing() const { return m_isWanted; }

    /// On the thread of the frames, between two of them. It picks from the whole globe.
    void install();
    /// On the thread of the frames, between two of them. Does nothing when there is no picker.
    void remove();
    /// What the picker last found; null while there is none. On the thread of the frames.
    Callback* callback() const { return m_held ? m_held->widget : nullptr; }

private:
    struct Held {
        Callback* widget = new Callback;
        osg::ref_ptr<osgEarth::Picker::Callback> owner = widget->asPickerCallback();
    };

    static constexpr int kPickCameraPixels = 256;

    ToolThreads& m_threads;
    std::atomic<bool> m_isWanted{false};
    std::optional<Held> m_next;
    std::optional<Held> m_held;
    osg::ref_ptr<osgEarth::Util::RTTPicker> m_picker;
};

template<typename Callback>
void HoverPicker<Callback>::install() {
    osgViewer::View* view = globeView();
    if (!view) {
        m_isWanted = false;
        return;
    }
    remove();
    m_held = m_next ? std::exchange(m_next, std::nullopt) : Held();
    m_picker = new osgEarth::Util::RTTPicker(kPickCameraPixels);
    m_picker->addChild(globeMapNode());
    m_picker->setDefaultCallback(m_held->owner);
    view->addEventHandler(m_picker);
    m_isWanted = true;
}

template<typename Callback>
void HoverPicker<Callback>::remove() {
    if (osgViewer::View* view = globeView(); view && m_picker) {
        view->removeEventHandler(m_picker);
    }
    m_picker = nullptr; // its end takes its pick camera out of the view as well
    // The last reference to a widget is the GUI thread's.
    m_threads.onGui([gone = std::exchange(m_held, std::nullopt)] {});
    m_isWanted = false;
}
