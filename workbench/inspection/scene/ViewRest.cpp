#include "workbench/inspection/scene/ViewRest.h"

#include "host/viewer/CXViewer.h"

#include <osg/NodeCallback>
#include <osgViewer/View>

namespace inspection {

namespace {
constexpr int kRestMilliseconds = 150;
constexpr int kPassingMilliseconds = 400;
} // namespace

class ViewRest::FrameCallback : public osg::NodeCallback {
public:
    explicit FrameCallback(ViewRest* rest) : m_rest(rest) {}
    void release() { m_rest = nullptr; }

    void operator()(osg::Node* node, osg::NodeVisitor* visitor) override {
        if (m_rest) {
            m_rest->look();
        }
        // A station may have thousands of overlays, of which few or none have something to update.
        if (node->getNumChildrenRequiringUpdateTraversal() > 0 || getNestedCallback()) {
            traverse(node, visitor);
        }
    }

private:
    ViewRest* m_rest;
};

ViewRest::ViewRest(QObject* parent) : QObject(parent), m_callback(new FrameCallback(this)) {
    m_timer.setSingleShot(true);
    m_timer.setInterval(kRestMilliseconds);
    connect(&m_timer, SIGNAL(timeout()), &m_passing, SLOT(stop()));
    connect(&m_timer, SIGNAL(timeout()), this, SIGNAL(rested()));
    m_passing.setSingleShot(true);
    m_passing.setInterval(kPassingMilliseconds);
    connect(&m_passing, SIGNAL(timeout()), this, SIGNAL(passed()));
}

ViewRest::~ViewRest() {
    m_callback->release();
}

osg::Callback* ViewRest::callback() const {
    return m_callback.get();
}

std::optional<ViewGeometry> ViewRest::present() {
    if (!g_pCXviewer || !g_pCXviewer->getViewer()) {
        return std::nullopt;
    }
    return ViewGeometry(*g_pCXviewer->getViewer()->getCamera());
}

void ViewRest::look() {
    const auto view = present();
    if (!view || (m_known && *view == m_view)) {
        return;
    }
    m_known = true;
    m_view = *view;
    m_timer.start();
    if (!m_passing.isActive()) {
        m_passing.start();
    }
}

} // namespace inspection
