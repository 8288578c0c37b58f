#include "tests/foreign/ForeignHost.h"

#include "host/Gbk.h"
#include "host/engine/IEngineContext.h"
#include "host/engine/ITool.h"
#include "host/viewer/CXViewer.h"
#include "host/viewmanager/DynamicClass.h"
#include "host/viewmanager/MessageBus.h"
#include "host/viewmanager/pick.h"
#include "tests/foreign/ForeignWindows.h"
#include "tests/globe/OffscreenGlobe.h"
#include "tests/globe/TestRaster.h"
#include "tests/support/WaitUntil.h"

#include <QApplication>
#include <QHBoxLayout>
#include <QTest>
#include <QThread>
#include <QToolButton>

#include <osgEarth/ObjectIndex>
#include <osgEarth/Registry>
#include <osgEarth/Terrain>
#include <osgEarthAnnotation/PlaceNode>

#include <gtest/gtest.h>

using osgEarth::Annotation::ImageOverlay;
using osgEarth::Util::EarthManipulator;

namespace {

ForeignHost* theHost = nullptr;

constexpr double kLon = 114.0;
constexpr double kLat = 34.0;
constexpr double kStepDegrees = 0.0004; ///< from one anomaly to the next
constexpr double kHalfDegrees = 0.00012;

/// Passes the viewer's events on to the active handler.
class Forwarder : public osgGA::GUIEventHandler {
public:
    using osgGA::GUIEventHandler::handle;
    bool handle(const osgGA::GUIEventAdapter& ea, osgGA::GUIActionAdapter& aa) override {
        CXCommandHandler* active = theHost->activeHandler();
        return active && active->handle(ea, aa);
    }
};

class Engine : public zeo::IEngineContext {
public:
    const osgEarth::SpatialReference* GetMapSRS() const override {
        return g_pCXviewer->getMapNode()->getMapSRS();
    }
    void AddCommand(zeo::ICommand* command) override { theHost->commands.push_back(command); }
    void RemoveCommand(zeo::ICommand*) override {}
    void ActivateTool(zeo::ITool* tool) override {
        zeo::ITool* before = theHost->activeTool;
        theHost->leaveActiveTool();
        if (before != tool) {
            theHost->activeTool = tool;
            tool->OnActivate();
        }
    }
    zeo::ITool* GetActiveTool() const override { return theHost->activeTool; }
    void SetStatusTip(const QString&) override { ForeignHost::expectGui("SetStatusTip"); }
};

class Viewer : public CXViewer {
public:
    explicit Viewer(globetest::OffscreenGlobe& globe) : m_globe(globe) {}
    osgViewer::View* getViewer() override { return &m_globe.viewer(); }
    EarthManipulator* getManipulator() override { return m_globe.manipulator(); }
    osgEarth::MapNode* getMapNode() override { return m_globe.mapNode(); }

private:
    globetest::OffscreenGlobe& m_globe;
};

osg::Vec2d placeOf(std::size_t anomaly) {
    const auto column = static_cast<double>(anomaly % 4);
    const auto row = static_cast<double>(anomaly / 4);
    return {kLon + (column - 1.5) * kStepDegrees, kLat + (row - 1.0) * kStepDegrees};
}

std::string nameOf(std::size_t anomaly) {
    return "A" + std::to_string(anomaly);
}

} // namespace

CXViewer* g_pCXviewer = nullptr;

zeo::IEngineContext* zeo::IEngineContext::Instance() {
    static Engine engine;
    return &engine;
}

DynamicClass::DynamicClass(std::string name, CXCommandHandler* handler) {
    theHost->add(name, handler);
}

bool osgCmd(const char* name) {
    ForeignHost::expectGui("osgCmd");
    return theHost->activate(name);
}

void osgPush(const char* message) {
    theHost->post(message);
}

osg::Vec3d pick(osgViewer::View* view, const osgGA::GUIEventAdapter& ea) {
    osg::Vec3d world;
    return g_pCXviewer->getMapNode()->getTerrain()->getWorldCoordsUnderMouse(view, ea.getX(), ea.getY(),
                                                                             world)
               ? world
               : kPickNoHit;
}

IORVAContext* IORVAContext::Instance() {
    static ForeignContext context;
    return &context;
}

ForeignHost& ForeignHost::instance() {
    return *theHost;
}

void ForeignHost::expectGui(const char* operation) {
    EXPECT_EQ(QThread::currentThread(), QCoreApplication::instance()->thread()) << operation;
}

ForeignHost::ForeignHost(Frames frames) {
    theHost = this;
    if (frames == Frames::OnTheGuiThread) {
        buildScene();
        return;
    }
    m_frames = std::thread([this] {
        buildScene();
        while (!m_isStopping) {
            makeFrame();
        }
        m_globe = nullptr;
    });
    settle();
}

ForeignHost::~ForeignHost() {
    m_active = nullptr;
    if (m_frames.joinable()) {
        m_isStopping = true;
        m_frames.join();
    }
    g_pCXviewer = nullptr;
    for (zeo::ICommand* command : commands) {
        command->Destroy();
    }
    ForeignContext::forget();
    theHost = nullptr;
}

void ForeignHost::buildScene() {
    m_globe =
        std::make_unique<globetest::OffscreenGlobe>(static_cast<int>(kWidth), static_cast<int>(kHeight));
    EXPECT_TRUE(m_globe->isUsable());
    static Viewer viewer(*m_globe);
    g_pCXviewer = &viewer;
    globetest::RasterPlace place;
    place.srs = "EPSG:4326";
    place.cell = 0.0001;
    place.columns = place.rows = 256;
    place.west = kLon - 128 * place.cell;
    place.north = kLat + 128 * place.cell;
    m_globe->addElevation("ground",
                          globetest::writeHeights("flat.tif", place, [](double, double) { return 0.0; }));
    osgEarth::MapNode* map = m_globe->mapNode();
    lookFromAbove();
    m_station.m_id = 1;
    m_station.m_srs = "EPSG:4547";
    const auto* srs = osgEarth::SpatialReference::get(m_station.m_srs);
    osg::Vec3d centre;
    EXPECT_TRUE(map->getMapSRS()->getGeographicSRS()->transform(osg::Vec3d(kLon, kLat, 0), srs, centre));
    constexpr double kReachMetres = 1000.0;
    m_station.m_xMin = centre.x() - kReachMetres;
    m_station.m_xMax = centre.x() + kReachMetres;
    m_station.m_yMin = centre.y() - kReachMetres;
    m_station.m_yMax = centre.y() + kReachMetres;

    m_overlays = new osg::Group;
    m_overlays->setName("diffImageOverlay");
    std::vector<SdiffData> anomalies;
    for (std::size_t index = 0; index < kAnomalies; ++index) {
        const osg::ref_ptr<ImageOverlay> overlay = new ImageOverlay(map);
        const osg::ref_ptr<osg::Image> image = new osg::Image;
        image->allocateImage(2, 2, 1, GL_RGBA, GL_UNSIGNED_BYTE);
        std::fill(image->data(), image->data() + 16, static_cast<unsigned char>(255));
        overlay->setImage(image);
        const osg::Vec2d at = placeOf(index);
        overlay->setCorners(
            {at.x() - kHalfDegrees, at.y() - kHalfDegrees}, {at.x() + kHalfDegrees, at.y() - kHalfDegrees},
            {at.x() - kHalfDegrees, at.y() + kHalfDegrees}, {at.x() + kHalfDegrees, at.y() + kHalfDegrees});
        overlay->setName(nameOf(index));
        osgEarth::Registry::objectIndex()->tagNode(overlay, overlay);
        m_overlays->addChild(overlay);
        SdiffData anomaly;
        anomaly.name = nameOf(index);
        anomalies.push_back(anomaly);
    }
    map->addChild(m_overlays);
    m_anomalies = anomalies;
    m_globe->settle();
    for (std::size_t index = 0; index < kAnomalies; ++index) {
        m_pixels.push_back(project(index));
    }
    m_globe->viewer().getEventQueue()->getCurrentEventState()->setMouseYOrientation(
        osgGA::GUIEventAdapter::Y_INCREASING_UPWARDS);
    m_globe->viewer().addEventHandler(new Forwarder);
}

void ForeignHost::lookFromAbove() {
    m_globe->manipulator()->setViewpoint(osgEarth::Viewpoint("", kLon, kLat, 0.0, 0.0, -89.0, 400.0));
}

bool ForeignHost::load(const QString& file) {
    ForeignContext::prepare(m_station, m_anomalies);
    m_library.setFileName(file);
    const auto create = m_library.resolve("Create");
    if (!create) {
        ADD_FAILURE() << m_library.errorString().toStdString();
        return false;
    }
    create();
    auto* layout = new QHBoxLayout(&m_row);
    for (zeo::ICommand* command : commands) {
        command->createselfUI(&m_row, layout);
    }
    m_row.show();
    return QTest::qWaitForWindowExposed(&m_row);
}

void ForeignHost::awaitFrames(const std::function<bool()>& isDone) {
    EXPECT_TRUE(waitUntil([&] {
        if (!hasOwnFrameThread()) {
            makeFrame();
        }
        return isDone();
    }));
}

void ForeignHost::awaitFrame() {
    awaitFrames([this, before = m_frameCount.load()] { return m_frameCount != before; });
}

void ForeignHost::makeFrame() {
    deliver();
    std::vector<std::function<void()>> work;
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        work.swap(m_work);
    }
    for (const auto& each : work) {
        each();
    }
    {
        const std::lock_guard<std::mutex> lock(frameMutex);
        m_globe->frame();
    }
    ++m_frameCount;
}

void ForeignHost::settle() {
    constexpr int kRounds = 3; // an event, its answer on the other thread, and what comes back of it
    constexpr unsigned kFramesOfAPick = 3;
    for (int round = 0; round < kRounds; ++round) {
        awaitFrames([&, wanted = m_frameCount + kFramesOfAPick] { return m_frameCount >= wanted; });
        QApplication::processEvents();
    }
}

void ForeignHost::betweenFrames(const std::function<void()>& work) {
    std::atomic<bool> isDone{false};
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_work.emplace_back([&] {
            work();
            isDone = true;
        });
    }
    awaitFrames([&] { return isDone.load(); });
}

void ForeignHost::later(const std::function<void(double time)>& event) {
    event(m_globe->viewer().getEventQueue()->getTime());
}

void ForeignHost::move(float x, float y) {
    m_x = x;
    m_y = y;
    later([&](double time) { m_globe->viewer().getEventQueue()->mouseMotion(x, y, time); });
}

void ForeignHost::press(int button) {
    later([&](double time) {
        m_globe->viewer().getEventQueue()->mouseButtonPress(m_x, m_y, static_cast<unsigned>(button), time);
    });
}

void ForeignHost::release(int button) {
    later([&](double time) {
        m_globe->viewer().getEventQueue()->mouseButtonRelease(m_x, m_y, static_cast<unsigned>(button), time);
    });
}

void ForeignHost::doubleClick(int button) {
    later([&](double time) {
        m_globe->viewer().getEventQueue()->mouseDoubleButtonPress(m_x, m_y, static_cast<unsigned>(button),
                                                                  time);
    });
}

void ForeignHost::keyDown(int key) {
    later([&](double time) { m_globe->viewer().getEventQueue()->keyPress(key, time); });
}

void ForeignHost::keyUp(int key) {
    later([&](double time) { m_globe->viewer().getEventQueue()->keyRelease(key, time); });
}

QToolButton& ForeignHost::button(const char* utf8Name) const {
    const auto buttons = m_row.findChildren<QToolButton*>(Qt::FindDirectChildrenOnly);
    for (std::size_t index = 0; index < commands.size(); ++index) {
        if (commands[index]->Name() == toGbk(utf8Name)) {
            return *buttons.at(static_cast<qsizetype>(index));
        }
    }
    throw std::runtime_error(std::string("no command ") + utf8Name);
}

// The flag that a tool keeps for its next activation says "it was running" only if its button is down now.
void ForeignHost::leaveActiveTool() {
    if (zeo::ITool* tool = std::exchange(activeTool, nullptr)) {
        button(fromGbk(tool->Name()).toUtf8().constData()).setChecked(true);
        tool->OnDeactivate();
    }
}

void ForeignHost::click(const char* utf8Name) {
    QTest::mouseClick(&button(utf8Name), Qt::LeftButton);
}

osg::Vec2d ForeignHost::project(std::size_t anomaly) const {
    osg::Vec3d world;
    const auto* map = m_globe->mapNode()->getMapSRS();
    EXPECT_TRUE(map->getGeographicSRS()->transformToWorld(osg::Vec3d(placeOf(anomaly), 0.0), world));
    const osg::Camera& camera = *m_globe->viewer().getCamera();
    const osg::Vec3d window = world * camera.getViewMatrix() * camera.getProjectionMatrix() *
                              camera.getViewport()->computeWindowMatrix();
    return {window.x(), window.y()};
}

bool ForeignHost::isHighlighted(std::size_t anomaly) const {
    const osg::StateSet* state = m_overlays->getChild(static_cast<unsigned>(anomaly))->getStateSet();
    const osg::Uniform* colour = state ? state->getUniform("oe_anno_highlight_color") : nullptr;
    osg::Vec4 value;
    return colour && colour->get(value) && value == osg::Vec4(255, 255, 0, 1);
}

std::vector<std::size_t> ForeignHost::highlighted() {
    std::vector<std::size_t> found;
    betweenFrames([&] {
        for (std::size_t index = 0; index < kAnomalies; ++index) {
            if (isHighlighted(index)) {
                found.push_back(index);
            }
        }
    });
    return found;
}

std::size_t ForeignHost::groupsNamed(const std::string& name) {
    std::size_t count = 0;
    betweenFrames([&] {
        const osgEarth::MapNode* map = m_globe->mapNode();
        for (unsigned index = 0; index < map->getNumChildren(); ++index) {
            count += map->getChild(index)->getName() == name ? 1U : 0U;
        }
    });
    return count;
}

std::string ForeignHost::valueLabel() {
    std::string text;
    betweenFrames([&] {
        osgEarth::MapNode* map = m_globe->mapNode();
        for (unsigned index = 0; index < map->getNumChildren(); ++index) {
            if (auto* label = dynamic_cast<osgEarth::Annotation::PlaceNode*>(map->getChild(index))) {
                text = label->getText();
            }
        }
    });
    return text;
}

void ForeignHost::add(const std::string& name, CXCommandHandler* handler) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_handlers.emplace_back(name, handler);
}

bool ForeignHost::activate(const std::string& name) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    for (const auto& [known, handler] : m_handlers) {
        if (known == name) {
            m_active = handler;
            return true;
        }
    }
    return false;
}

void ForeignHost::post(const std::string& message) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_posted.push_back(message);
}

void ForeignHost::deliver() {
    std::deque<std::string> round;
    std::vector<std::pair<std::string, CXCommandHandler*>> handlers;
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        round.swap(m_posted);
        handlers = m_handlers;
    }
    for (const std::string& message : round) {
        for (const auto& [name, handler] : handlers) {
            handler->OnMessage(message);
        }
    }
}
