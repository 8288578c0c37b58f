#include "../core/ScreenSize.h"
#include "PickRegion.h"

#include <osg/Viewport>
#include <osgEarth/Registry>
#include <osgEarth/VirtualProgram>
#include <osgEarthUtil/RTTPicker>
#include <osgGA/GUIActionAdapter>
#include <osgViewer/Renderer>

#include <atomic>

namespace osgEarth {
namespace Util {
namespace {

const char* const kWriteIdSource =
    "flat in uint oe_index_objectid;\n"
    "void oe_pick_writeId(inout vec4 color) {\n"
    "    uint id = oe_index_objectid;\n"
    "    gl_FragColor = vec4(float((id >> 24u) & 255u), float((id >> 16u) & 255u),\n"
    "                        float((id >> 8u) & 255u), float(id & 255u)) / 255.0;\n"
    "}\n";

constexpr float kLastOfAll = 1e30f;

/// Replaces every colour by the id of what is drawn.
void installPickState(osg::StateSet* stateSet) {
    const osg::StateAttribute::OverrideValue off =
        osg::StateAttribute::OFF | osg::StateAttribute::OVERRIDE | osg::StateAttribute::PROTECTED;
    for (const GLenum mode :
         {GL_BLEND, GL_ALPHA_TEST, GL_DITHER, GL_MULTISAMPLE, GL_LIGHTING, GL_LINE_STIPPLE, GL_LINE_SMOOTH}) {
        stateSet->setMode(mode, off);
    }
    VirtualProgram* program = VirtualProgram::getOrCreate(stateSet);
    const ObjectIndex* index = Registry::objectIndex();
    index->loadShaders(program);
    program->setFunction("oe_pick_writeId", kWriteIdSource, ShaderComp::LOCATION_FRAGMENT_OUTPUT, kLastOfAll);
    stateSet->addUniform(new osg::Uniform(index->getObjectIDUniformName().c_str(), OSGEARTH_OBJECTID_EMPTY));
}

/// Updates and events reach the picked nodes through the view's own scene.
class DrawnOnly : public osg::Group {
public:
    void traverse(osg::NodeVisitor& nv) override {
        if (nv.getVisitorType() != osg::NodeVisitor::UPDATE_VISITOR &&
            nv.getVisitorType() != osg::NodeVisitor::EVENT_VISITOR) {
            osg::Group::traverse(nv);
        }
    }
};

osg::GraphicsContext* contextOf(osg::View& view) {
    if (osg::GraphicsContext* context = view.getCamera()->getGraphicsContext()) {
        return context;
    }
    for (unsigned i = 0; i < view.getNumSlaves(); ++i) {
        if (osg::GraphicsContext* context = view.getSlave(i)._camera->getGraphicsContext()) {
            return context;
        }
    }
    return nullptr;
}

/// What a pick shows is compiled as it is drawn, or has been already for the window. A new camera would first
/// compile all there is in its scene, which takes seconds where there is much.
void compileNothingAhead(osg::Camera& camera) {
    auto* renderer = dynamic_cast<osgViewer::Renderer*>(camera.getRenderer());
    if (!renderer) {
        return;
    }
    renderer->setCompileOnNextDraw(false);
    for (unsigned i = 0; i < 2; ++i) {
        if (osgUtil::SceneView* sceneView = renderer->getSceneView(i)) {
            sceneView->setInitVisitor(nullptr);
        }
    }
}

} // namespace

/// One pick that was started and not yet reported.
struct RTTPicker::Pick {
    osg::Vec2d position; // in pixels of the viewport
    osg::ref_ptr<Callback> callback;
    unsigned number = 0; // counted up; the picture that is drawn after that shows it
};

/// The pick camera of one view. Shared with the camera's callbacks, which may outlive the picker by a frame.
struct RTTPicker::PickView : public osg::Referenced {
    osg::observer_ptr<osg::View> view;
    osg::ref_ptr<osg::Camera> camera;
    osg::ref_ptr<osg::Image> image;
    std::deque<Pick> pending;
    unsigned started = 0;              // number of the latest pick
    unsigned rendering = 0;            // number of the latest pick that the frame under way shows
    std::atomic<unsigned> finished{0}; // the same for the image
    PickRegion region;                 // of the frame under way
};

/// Aims the pick camera at the pending picks, just before a frame is drawn.
class RTTPicker::FollowMaster : public osg::View::Slave::UpdateSlaveCallback {
public:
    FollowMaster(PickView* pickView, int cameraSize, int* buffer)
        : m_pickView(pickView), m_cameraSize(cameraSize), m_buffer(buffer) {}

    void updateSlave(osg::View& view, osg::View::Slave& slave) override {
        osg::ref_ptr<PickView> pickView;
        const osg::Viewport* viewport = view.getCamera()->getViewport();
        if (!m_pickView.lock(pickView) || pickView->pending.empty() || !viewport) {
            return;
        }
        std::vector<osg::Vec2d> positions;
        for (const Pick& pick : pickView->pending) {
            positions.push_back(pick.position);
        }
        pickView->region =
            PickRegion(positions, {viewport->width(), viewport->height()}, m_cameraSize, *m_buffer);
        pickView->rendering = pickView->started;
        const PickRegion& region = pickView->region;
        slave._projectionOffset = region.projectionOffset();
        slave.updateSlaveImplementation(view);
        slave._camera->setViewport(0, 0, region.columns(), region.rows());
        setPixelScale(*slave._camera, region.scale());
    }

private:
    osg::observer_ptr<PickView> m_pickView;
    int m_cameraSize;
    int* m_buffer; // the picker's; not read without picks, and those end with the picker
};

/// Notes that the image is complete.
class RTTPicker::CountDrawn : public osg::Camera::DrawCallback {
public:
    explicit CountDrawn(PickView* pickView) : m_pickView(pickView) {}

    void operator()(osg::RenderInfo&) const override {
        osg::ref_ptr<PickView> pickView;
        if (m_pickView.lock(pickView)) {
            pickView->finished = pickView->rendering;
        }
    }

private:
    osg::observer_ptr<PickView> m_pickView;
};

RTTPicker::RTTPicker(int cameraSize) : m_cameraSize(std::max(cameraSize, 4)), m_children(new DrawnOnly) {}

RTTPicker::~RTTPicker() {
    for (const osg::ref_ptr<PickView>& pickView : m_views) {
        pickView->pending.clear();
        removeSlave(*pickView);
    }
}

void RTTPicker::setBuffer(int value) {
    m_buffer = std::max(value, 1);
}

bool RTTPicker::addChild(osg::Node* child) {
    return m_children->addChild(child);
}
bool RTTPicker::removeChild(osg::Node* child) {
    return m_children->removeChild(child);
}
bool RTTPicker::insertChild(unsigned index, osg::Node* child) {
    return m_children->insertChild(index, child);
}
bool RTTPicker::replaceChild(osg::Node* oldChild, osg::Node* newChild) {
    return m_children->replaceChild(oldChild, newChild);
}

void RTTPicker::setCullMask(osg::Node::NodeMask mask) {
    m_cullMask = mask;
    for (const osg::ref_ptr<PickView>& pickView : m_views) {
        pickView->camera->setCullMask(mask);
    }
}

bool RTTPicker::pick(osg::View* view, float mouseX, float mouseY, Callback* callback) {
    const osg::Viewport* viewport = view ? view->getCamera()->getViewport() : nullptr;
    if (!callback || !viewport) {
        return false;
    }
    const osg::Vec2d position(static_cast<double>(mouseX) - viewport->x(),
                              static_cast<double>(mouseY) - viewport->y());
    if (position.x() < 0.0 || position.y() < 0.0 || position.x() >= viewport->width() ||
        position.y() >= viewport->height()) {
        return false;
    }
    PickView* pickView = viewFor(view);
    if (!pickView) {
        return false;
    }
    Pick pick;
    pick.position = position;
    pick.callback = callback;
    pick.number = ++pickView->started;
    pickView->pending.push_back(pick);
    pickView->camera->setNodeMask(~0u);
    return true;
}

bool RTTPicker::handle(const osgGA::GUIEventAdapter& ea, osgGA::GUIActionAdapter& aa) {
    const osg::ref_ptr<RTTPicker> alive(this); // a callback may drop the picker
    if (ea.getEventType() == osgGA::GUIEventAdapter::FRAME) {
        for (std::size_t i = 0; i < m_views.size(); ++i) {
            reportFinished(*osg::ref_ptr<PickView>(m_views[i]));
        }
    }
    if (m_defaultCallback.valid() && m_defaultCallback->accept(ea, aa)) {
        pick(aa.asView(), ea.getX(), ea.getY(), m_defaultCallback.get());
    }
    for (const osg::ref_ptr<PickView>& pickView : m_views) {
        if (!pickView->pending.empty()) {
            aa.requestRedraw();
        }
    }
    return false;
}

// The picks are taken off the list first: a callback may start new ones.
void RTTPicker::reportFinished(PickView& pickView) {
    std::vector<std::pair<osg::ref_ptr<Callback>, ObjectID>> results;
    while (!pickView.pending.empty() && pickView.pending.front().number <= pickView.finished) {
        const Pick& pick = pickView.pending.front();
        results.emplace_back(pick.callback, idNear(pickView, pick));
        pickView.pending.pop_front();
    }
    if (pickView.pending.empty()) {
        pickView.camera->setNodeMask(0u);
    }
    for (const auto& [callback, id] : results) {
        if (id != OSGEARTH_OBJECTID_EMPTY) {
            callback->onHit(id);
        } else {
            callback->onMiss();
        }
    }
}

// Only ids of living objects count: a node with a plain program of its own draws its colours also while
// picking.
ObjectID RTTPicker::idNear(const PickView& pickView, const Pick& pick) const {
    const osg::Image& image = *pickView.image;
    for (const osg::Vec2i& pixel : pickView.region.pixelsAround(pick.position)) {
        if (pixel.x() >= image.s() || pixel.y() >= image.t()) {
            continue;
        }
        const unsigned char* bytes =
            image.data(static_cast<unsigned>(pixel.x()), static_cast<unsigned>(pixel.y()));
        const ObjectID id = static_cast<ObjectID>(bytes[0]) << 24 | static_cast<ObjectID>(bytes[1]) << 16 |
                            static_cast<ObjectID>(bytes[2]) << 8 | static_cast<ObjectID>(bytes[3]);
        if (id != OSGEARTH_OBJECTID_EMPTY && Registry::objectIndex()->get<osg::Referenced>(id).valid()) {
            return id;
        }
    }
    return OSGEARTH_OBJECTID_EMPTY;
}

RTTPicker::PickView* RTTPicker::viewFor(osg::View* view) {
    for (auto known = m_views.begin(); known != m_views.end();) {
        if (!(*known)->view.valid()) {
            known = m_views.erase(known);
        } else if ((*known)->view == view) {
            return known->get();
        } else {
            ++known;
        }
    }
    if (!contextOf(*view)) {
        return nullptr;
    }
    m_views.push_back(createPickView(view));
    return m_views.back().get();
}

osg::ref_ptr<RTTPicker::PickView> RTTPicker::createPickView(osg::View* view) {
    osg::ref_ptr<PickView> pickView = new PickView;
    pickView->view = view;
    pickView->image = new osg::Image;
    pickView->image->allocateImage(m_cameraSize, m_cameraSize, 1, GL_RGBA, GL_UNSIGNED_BYTE);

    osg::ref_ptr<osg::Camera> camera = new osg::Camera;
    pickView->camera = camera;
    camera->setName("osgEarth::RTTPicker");
    camera->addChild(m_children);
    camera->setAllowEventFocus(false);
    camera->setReferenceFrame(osg::Transform::RELATIVE_RF);
    camera->setGraphicsContext(contextOf(*view));
    camera->setRenderTargetImplementation(osg::Camera::FRAME_BUFFER_OBJECT);
    camera->setRenderOrder(osg::Camera::PRE_RENDER);
    camera->setViewport(0, 0, m_cameraSize, m_cameraSize);
    camera->setClearColor(osg::Vec4(0.0f, 0.0f, 0.0f, 0.0f));
    camera->setClearMask(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
    camera->attach(osg::Camera::COLOR_BUFFER0, pickView->image.get());
    camera->setSmallFeatureCullingPixelSize(-1.0f);
    if (m_cullMask != ~0u) {
        camera->setCullMask(m_cullMask);
    }
    camera->setFinalDrawCallback(new CountDrawn(pickView));
    installPickState(camera->getOrCreateStateSet());

    view->addSlave(camera, false);
    compileNothingAhead(*camera);
    view->getSlave(view->findSlaveIndexForCamera(camera))._updateSlaveCallback =
        new FollowMaster(pickView, m_cameraSize, &m_buffer);
    return pickView;
}

void RTTPicker::removeSlave(PickView& pickView) {
    pickView.camera->setNodeMask(0u);
    // No counted reference: a viewer may be a plain object.
    if (osg::View* view = pickView.view.get()) {
        const unsigned index = view->findSlaveIndexForCamera(pickView.camera);
        if (index < view->getNumSlaves()) {
            view->removeSlave(index);
        }
    }
    pickView.camera->setGraphicsContext(nullptr);
}

} // namespace Util
} // namespace osgEarth
