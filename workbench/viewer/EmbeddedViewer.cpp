#include "workbench/viewer/EmbeddedViewer.h"

#include <osgDB/DatabasePager>

#include <algorithm>
#include <utility>

namespace {

// One change may need some frames to settle: an update callback marks a node, the next frame draws it, and
// the answer of a pick is read one or two frames after its picture was drawn.
constexpr int kFramesAfterChange = 4;

} // namespace

EmbeddedViewer::EmbeddedViewer(std::function<void()> wakeUp) : m_wakeUp(std::move(wakeUp)) {
    setThreadingModel(osgViewer::ViewerBase::SingleThreaded);
    setKeyEventSetsDone(0);
    setQuitEventSetsDone(false);
    setReleaseContextAtEndOfFrameHint(false);
}

void EmbeddedViewer::embed(int widthPixels, int heightPixels) {
    m_window = setUpViewerAsEmbeddedInWindow(0, 0, widthPixels, heightPixels);
    getEventQueue()->getCurrentEventState()->setMouseYOrientation(
        osgGA::GUIEventAdapter::Y_INCREASING_UPWARDS);
    resize(widthPixels, heightPixels);
}

void EmbeddedViewer::resize(int widthPixels, int heightPixels) {
    const int width = std::max(widthPixels, 1);
    const int height = std::max(heightPixels, 1);
    m_window->resized(0, 0, width, height);
    m_window->getEventQueue()->windowResize(0, 0, width, height);
    getEventQueue()->windowResize(0, 0, width, height);
    requestRedraw();
}

void EmbeddedViewer::setFramebuffer(unsigned id) {
    m_window->setDefaultFboId(id);
}

void EmbeddedViewer::prepare() {
    if (m_framesOwed > 0) {
        --m_framesOwed;
    }
    if (_firstFrame) {
        viewerInit();
        if (!isRealized()) {
            realize();
        }
        _firstFrame = false;
    }
    advance();
    eventTraversal();
    updateTraversal();
}

void EmbeddedViewer::draw() {
    // The window's toolkit has used the GL context since the last frame, and newer ones leave their state
    // behind.
    osg::State& state = *m_window->getState();
    state.dirtyAllModes();
    state.dirtyAllAttributes();
    state.dirtyAllVertexArrays();
    renderingTraversals();
}

bool EmbeddedViewer::needsFrame() {
    return m_framesOwed > 0 || getRequestContinousUpdate() || !getEventQueue()->empty() ||
           getDatabasePager()->requiresUpdateSceneGraph();
}

bool EmbeddedViewer::hasBackgroundWork() {
    const osgDB::DatabasePager* pager = getDatabasePager();
    return pager->getRequestsInProgress() || pager->getFileRequestListSize() > 0 ||
           pager->getDataToCompileListSize() > 0 || pager->getDataToMergeListSize() > 0;
}

void EmbeddedViewer::requestRedraw() {
    m_framesOwed = kFramesAfterChange;
    m_wakeUp();
}

void EmbeddedViewer::requestContinuousUpdate(bool needed) {
    osgViewer::Viewer::requestContinuousUpdate(needed);
    if (needed) {
        m_wakeUp();
    }
}
