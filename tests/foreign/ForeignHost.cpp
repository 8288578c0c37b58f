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
#include "tests/support/WaitUntil.h"

#include <QApplication>
#include <QHBoxLayout>
#include <QTest>
#include <QThread>
#include <QToolButton>

#include <osgEarth/MapNode>
#include <osgEarth/Terrain>

#include <gtest/gtest.h>

namespace {

ForeignHost* theHost = nullptr;

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

} // namespace

CXViewer* g_pCXviewer = nullptr;

zeo::IEngineContext* zeo::IEngineContext::Instance() {
    static Engine engine;
    return &engine;
}

DynamicClass::DynamicClass(
    std::string name, // NOLINT(performance-unnecessary-value-param): the interface says so
    CXCommandHandler* handler) {
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
    ++theHost->picks;
    osg::Vec3d world;
    return g_pCXviewer->getMapNode()->getTerrain()->getWorldCoordsUnderMouse(view, ea.getX(), ea.getY(),
                                                                             world)
               ? world
               : kPickNoHit;
}

IORVAContext* IORVAContext::Instance() {
    static ForeignContext context;
    return ForeignContext::missing == ForeignContext::Missing::Context ? nullptr : &context;
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
    m_globe->frame();
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

void ForeignHost::doBetweenFrames(std::function<void()> work) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_work.push_back(std::move(work));
}

void ForeignHost::betweenFrames(const std::function<void()>& work) {
    std::atomic<bool> isDone{false};
    doBetweenFrames([&] {
        work();
        isDone = true;
    });
    awaitFrames([&] { return isDone.load(); });
}

ForeignHost::StoppedFrames::StoppedFrames(ForeignHost& host) {
    if (!host.hasOwnFrameThread()) {
        host.makeFrame();
        return;
    }
    std::promise<void> hasStopped;
    host.doBetweenFrames([&hasStopped, mayGoOn = std::shared_future<void>(m_mayGoOn.get_future())] {
        hasStopped.set_value();
        mayGoOn.wait();
    });
    hasStopped.get_future().wait();
}

ForeignHost::StoppedFrames::~StoppedFrames() {
    m_mayGoOn.set_value();
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

std::size_t ForeignHost::indexOf(const char* utf8Name) const {
    for (std::size_t index = 0; index < commands.size(); ++index) {
        if (commands[index]->Name() == toGbk(utf8Name)) {
            return index;
        }
    }
    throw std::runtime_error(std::string("no command ") + utf8Name);
}

zeo::ICommand& ForeignHost::command(const char* utf8Name) const {
    return *commands[indexOf(utf8Name)];
}

QToolButton& ForeignHost::button(const char* utf8Name) const {
    const auto buttons = m_row.findChildren<QToolButton*>(Qt::FindDirectChildrenOnly);
    return *buttons.at(static_cast<qsizetype>(indexOf(utf8Name)));
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
