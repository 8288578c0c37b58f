/// Drawing state that is the same for many nodes, once.
#pragma once

#include <osg/StateSet>
#include <osg/observer_ptr>

#include <mutex>

namespace osgEarth {
namespace Annotation {

/// State sets for nodes that look alike, which otherwise would take tens of megabytes for tens of thousands of places. Each
/// is shared by some hundreds of them only: a node that goes is looked for among all that have its state. Any thread.
class SharedState {
public:
    /// `make` gives a new one where none is in use, or where the latest was given often enough.
    template<typename Make>
    osg::ref_ptr<osg::StateSet> get(const Make& make) {
        const std::lock_guard<std::mutex> lock(m_mutex);
        osg::ref_ptr<osg::StateSet> state;
        if (m_given == kMostNodes || !m_state.lock(state)) {
            state = make();
            m_state = state;
            m_given = 0;
        }
        ++m_given;
        return state;
    }

private:
    static constexpr int kMostNodes = 256;

    std::mutex m_mutex;
    osg::observer_ptr<osg::StateSet> m_state;
    int m_given = 0;
};

} // namespace Annotation
} // namespace osgEarth
