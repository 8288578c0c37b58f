#pragma once

#include "host/viewmanager/MessageBus.h"
#include "plugin/Globe.h"
#include "plugin/ToolThreads.h"

#include <osg/ref_ptr>
#include <osgEarth/Picker>
#include <osgEarthUtil/RTTPicker>
#include <osgViewer/View>

#include <algorithm>
#include <atomic>
#include <deque>
#include <optional>
#include <string>
#include <vector>

/// A tool's hover picker: it comes with the tool's activation and goes with its deactivation, both by
/// messages. `Callback` is a widget and a picker callback in one: the GUI thread makes it and lets go of it,
/// the thread of the frames works with it.
template<typename Callback>
class HoverPicker {
public:
    explicit HoverPicker(ToolThreads& threads) : m_threads(threads) {}

    /// On the GUI thread, before the message that installs the picker; once for each such message.
    void announce() {
        dropUnused();
        m_made.emplace_back();
        ++m_count;
        m_threads.onFrame([this, made = m_made.back()] { m_announced.push_back(made); });
    }
    /// Installed, or announced and not yet there. Any thread.
    bool isThereOrComing() const { return m_count > 0; }

    /// On the thread of the frames, between two of them, when `message` has come. It picks from the whole
    /// globe. A message that nobody announced comes once more when the GUI thread has done so.
    void install(const std::string& message);
    /// On the thread of the frames, between two of them. Does nothing when there is no picker.
    void remove();
    /// What the picker last found, also after it was removed; null before the first one. On the thread of the
    /// frames.
    Callback* callback() const { return m_held ? m_held->widget : nullptr; }

private:
    struct Held {
        Callback* widget = new Callback;
        osg::ref_ptr<osgEarth::Picker::Callback> owner = widget->asPickerCallback();
    };

    static constexpr int kPickCameraPixels = 256;

    /// On the GUI thread. The frames may keep a callback for some time after its picker has gone, but the last
    /// reference to a widget is this thread's.
    void dropUnused() {
        const auto isUnused = [](const Held& held) { return held.owner->referenceCount() == 1; };
        m_made.erase(std::remove_if(m_made.begin(), m_made.end(), isUnused), m_made.end());
    }

    ToolThreads& m_threads;
    std::atomic<int> m_count{0}; ///< pickers that are announced or installed

    // GUI thread.
    std::vector<Held> m_made; ///< all that there may be a reference to

    // Thread of the frames.
    std::deque<Held> m_announced; ///< in the order of their messages
    std::optional<Held> m_held;
    osg::ref_ptr<osgEarth::Util::RTTPicker> m_picker;
};

template<typename Callback>
void HoverPicker<Callback>::install(const std::string& message) {
    if (m_announced.empty()) {
        m_threads.onGui([this] { announce(); });
    }
    if (m_announced.empty()) {
        m_threads.onGui([message] { osgPush(message.c_str()); });
        return;
    }
    remove();
    m_held = m_announced.front();
    m_announced.pop_front();
    m_threads.onGui([this] { dropUnused(); });
    osgViewer::View* view = globeView();
    if (!view) {
        --m_count;
        return;
    }
    m_picker = new osgEarth::Util::RTTPicker(kPickCameraPixels);
    m_picker->addChild(globeMapNode());
    m_picker->setDefaultCallback(m_held->owner);
    view->addEventHandler(m_picker);
}

template<typename Callback>
void HoverPicker<Callback>::remove() {
    if (!m_picker) {
        return;
    }
    if (osgViewer::View* view = globeView()) {
        view->removeEventHandler(m_picker);
    }
    m_picker = nullptr; // its end takes its pick camera out of the view as well
    --m_count;
}
