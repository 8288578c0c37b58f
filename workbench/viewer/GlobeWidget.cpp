#include "workbench/viewer/GlobeWidget.h"

#include "workbench/viewer/Compass.h"
#include "workbench/viewer/EmbeddedViewer.h"
#include "workbench/viewer/EventTranslation.h"
#include "workbench/viewer/ScaleBar.h"
#include "workbench/viewer/Sky.h"
#include "workbench/viewer/SwipeLine.h"

#include <osgEarth/GLUtils>
#include <osgEarth/GeoData>
#include <osgEarth/Registry>
#include <osgEarth/Terrain>
#include <osgEarth/TerrainEngineNode>
#include <osgEarth/Viewpoint>
#include <osgEarthUtil/EarthManipulator>
#include <osgEarthUtil/LogarithmicDepthBuffer>

#include <QKeyEvent>
#include <QLabel>
#include <QMetaObject>
#include <QMouseEvent>
#include <QSurfaceFormat>
#include <QThread>
#include <QWheelEvent>

#include <cmath>

namespace {

constexpr int kFrameIntervalMilliseconds = 10;
constexpr int kLoadingPollMilliseconds = 15;
constexpr int kPreparationPollMilliseconds = 100;
constexpr int kInstrumentMargin = 12;
constexpr double kTurnSeconds = 0.4;

/// The globe with the sky behind it.
osg::ref_ptr<osg::Group> makeScene(osgEarth::MapNode& mapNode) {
    osg::ref_ptr<Sky> sky = new Sky;
    sky->addHaze(*mapNode.getTerrainEngine());
    osg::ref_ptr<osg::Group> scene = new osg::Group;
    scene->addChild(sky);
    scene->addChild(&mapNode);
    return scene;
}

void addHostBindings(osgEarth::Util::EarthManipulator::Settings& settings) {
    using Manipulator = osgEarth::Util::EarthManipulator;
    using Event = osgGA::GUIEventAdapter;
    // The globe is grabbed by its ground; tools switch this binding off and on again.
    settings.bindMouse(Manipulator::ACTION_EARTH_DRAG, Event::LEFT_MOUSE_BUTTON);
    // On most keyboards the plus is above the equals sign.
    for (const int plus : {static_cast<int>('+'), static_cast<int>('='), int{Event::KEY_KP_Add}}) {
        settings.bindKey(Manipulator::ACTION_ZOOM_IN, plus);
        settings.bindKey(Manipulator::ACTION_ZOOM_IN, plus, Event::MODKEY_SHIFT);
    }
    // Forward goes nearer, as on every map of the web; the manipulator's own default is the other way round.
    settings.bindScroll(Manipulator::ACTION_ZOOM_IN, Event::SCROLL_UP);
    settings.bindScroll(Manipulator::ACTION_ZOOM_OUT, Event::SCROLL_DOWN);
    for (const int minus : {static_cast<int>('-'), int{Event::KEY_KP_Subtract}}) {
        settings.bindKey(Manipulator::ACTION_ZOOM_OUT, minus);
    }
}

// Down to the vertical itself, or as near to it as the manipulator can go.
void allowStraightDown(osgEarth::Util::EarthManipulator::Settings& settings) {
    constexpr double kStraightDownDegrees = -90.0;
    settings.setMinMaxPitch(kStraightDownDegrees, settings.getMaxPitch());
}

} // namespace

void GlobeWidget::installSurfaceFormat() {
    QSurfaceFormat format = QSurfaceFormat::defaultFormat();
    format.setRenderableType(QSurfaceFormat::OpenGL);
    // Mesa gives a core profile unless deprecated functions are asked for by name; OSG needs them.
    format.setProfile(QSurfaceFormat::CompatibilityProfile);
    format.setOption(QSurfaceFormat::DeprecatedFunctions);
    format.setDepthBufferSize(24);
    format.setStencilBufferSize(8);
    QSurfaceFormat::setDefaultFormat(format);
}

GlobeWidget::GlobeWidget(QWidget* parent)
    : QOpenGLWidget(parent), m_compass(new Compass(this)), m_scaleBar(new ScaleBar(this)),
      m_swipeLine(new SwipeLine(this)), m_loadingSign(new QLabel(tr("正在载入…"), this)) {
    setFocusPolicy(Qt::StrongFocus);
    setMouseTracking(true);
    setMinimumSize(200, 150);
    m_loadingSign->setObjectName("loadingSign");
    m_loadingSign->setAttribute(Qt::WA_TransparentForMouseEvents);
    m_loadingSign->setStyleSheet(
        "background: rgba(255, 255, 255, 190); color: #28303c; border-radius: 4px; padding: 4px 10px");
    m_loadingSign->hide();

    m_timer.setSingleShot(true);
    m_timer.setTimerType(Qt::PreciseTimer);
    connect(&m_timer, &QTimer::timeout, this, &GlobeWidget::tick);
    m_preparationTimer.setInterval(kPreparationPollMilliseconds);
    connect(&m_preparationTimer, &QTimer::timeout, this, &GlobeWidget::watchPreparation);
    connect(m_swipeLine, &SwipeLine::moved, this, &GlobeWidget::swipe);
    connect(m_compass, &QAbstractButton::clicked, this, &GlobeWidget::turnNorth);

    m_viewer = new EmbeddedViewer([this] {
        if (QThread::currentThread() == thread()) {
            wakeUp();
        } else {
            QMetaObject::invokeMethod(this, &GlobeWidget::wakeUp, Qt::QueuedConnection);
        }
    });
    m_viewer->embed(width(), height());
    m_events = std::make_unique<EventTranslation>(*m_viewer->getEventQueue());

    m_manipulator = new osgEarth::Util::EarthManipulator();
    addHostBindings(*m_manipulator->getSettings());
    allowStraightDown(*m_manipulator->getSettings());
    m_viewer->setSceneData(makeScene(*m_map.mapNode()));
    m_viewer->setCameraManipulator(m_manipulator.get());
    m_viewer->getCamera()->setClearMask(GL_DEPTH_BUFFER_BIT | GL_STENCIL_BUFFER_BIT); // the sky is everywhere
    osgEarth::GLUtils::setGlobalDefaults(m_viewer->getCamera()->getOrCreateStateSet());
    osgEarth::Util::LogarithmicDepthBuffer().install(m_viewer->getCamera());

    g_pCXviewer = this;
}

GlobeWidget::~GlobeWidget() {
    if (g_pCXviewer == this) {
        g_pCXviewer = nullptr;
    }
    makeCurrent();
    m_viewer->setSceneData(nullptr);
    m_viewer = nullptr;
    doneCurrent();
}

osgViewer::View* GlobeWidget::getViewer() {
    return m_viewer.get();
}

osgEarth::Util::EarthManipulator* GlobeWidget::getManipulator() {
    return m_manipulator.get();
}

void GlobeWidget::requestRedraw() {
    m_viewer->requestRedraw();
}

bool GlobeWidget::isPictureComplete() {
    return m_asleep;
}

void GlobeWidget::initializeGL() {
    osgEarth::Registry::instance()->setDevicePixelRatio(static_cast<float>(devicePixelRatioF()));
}

void GlobeWidget::resizeGL(int width, int height) {
    const qreal ratio = devicePixelRatioF();
    const int deviceWidth = qRound(width * ratio);
    const int deviceHeight = qRound(height * ratio);
    m_events->setWindow(deviceHeight, ratio);
    m_viewer->resize(deviceWidth, deviceHeight);
    m_compass->move(width - m_compass->width() - kInstrumentMargin, kInstrumentMargin);
    m_scaleBar->move(kInstrumentMargin, height - m_scaleBar->height() - kInstrumentMargin);
    m_swipeLine->follow();
    if (m_swipeLine->isVisible()) {
        swipe();
    }
    m_loadingSign->adjustSize();
    m_loadingSign->move((width - m_loadingSign->width()) / 2,
                        height - m_loadingSign->height() - kInstrumentMargin);
}

void GlobeWidget::paintGL() {
    if (!m_prepared) {
        prepareFrame();
    }
    // Qt makes a new frame buffer with every resize.
    m_viewer->setFramebuffer(defaultFramebufferObject());
    m_viewer->draw();
    readInstruments();
    reportPointer();
    m_asleep = false;
    m_timer.start(kFrameIntervalMilliseconds);
}

void GlobeWidget::wakeUp() {
    m_asleep = false;
    if (!m_timer.isActive()) {
        m_timer.start(0);
    }
}

void GlobeWidget::tick() {
    if (m_preparing) {
        return; // goes on when the handler that waits for the user returns
    }
    if (m_workBetweenFrames) {
        makeCurrent();
        m_workBetweenFrames();
    }
    showLoading(m_viewer->hasBackgroundWork());
    if (m_viewer->needsFrame()) {
        if (m_prepared) {
            prepareFrame();
        }
        update();
    } else if (m_viewer->hasBackgroundWork()) {
        m_timer.start(kLoadingPollMilliseconds);
    } else {
        m_asleep = true;
        emit pictureCompleted();
    }
}

// Not while painting: a tool's menu runs an event loop, in which this widget and others are painted.
void GlobeWidget::prepareFrame() {
    watchPreparation(); // before the frame, or what becomes ready during it would be missed
    m_preparing = true;
    m_viewer->prepare();
    m_preparing = false;
    m_prepared = true;
}

// What becomes ready in the background shows in a frame. Goes on by its own timer, because the globe may be
// asleep meanwhile.
void GlobeWidget::watchPreparation() {
    const int arrivals = m_map.arrivals();
    if (arrivals != m_arrivals) {
        m_arrivals = arrivals;
        emit arrived();
        requestRedraw();
    }
    const int percent = m_map.preparationPercent();
    if (percent == 100 && !m_map.isLoading()) {
        m_preparationTimer.stop();
    } else if (!m_preparationTimer.isActive()) {
        m_preparationTimer.start();
    }
    if (percent == m_preparationPercent) {
        return;
    }
    m_preparationPercent = percent;
    emit preparationChanged(percent);
    if (percent == 100) {
        requestRedraw(); // the terrain takes them up in its next frame
    }
}

// What is there in a moment needs no sign.
void GlobeWidget::showLoading(bool isLoading) {
    constexpr int kMomentMilliseconds = 250;
    if (!isLoading) {
        m_loading.invalidate();
    } else if (!m_loading.isValid()) {
        m_loading.start();
    }
    m_loadingSign->setVisible(m_loading.isValid() && m_loading.hasExpired(kMomentMilliseconds));
}

void GlobeWidget::compare(Comparison how, double share) {
    m_swipeLine->setShown(how == Comparison::Swipe);
    if (how == Comparison::Swipe) {
        swipe();
    } else {
        constexpr double kEverywhere = 1e6;
        m_map.setComparison(how == Comparison::Blend ? share : 0.0, kEverywhere);
        requestRedraw();
    }
}

void GlobeWidget::setComparedTitles(const QString& other, const QString& shown) {
    m_swipeLine->setTitles(other, shown);
}

void GlobeWidget::swipe() {
    m_map.setComparison(1.0, m_swipeLine->share() * width() * devicePixelRatioF());
    requestRedraw();
}

void GlobeWidget::turnNorth() {
    osgEarth::Viewpoint viewpoint = m_manipulator->getViewpoint();
    viewpoint.heading() = osgEarth::Angle(0.0, osgEarth::Units::DEGREES);
    m_manipulator->setViewpoint(viewpoint, kTurnSeconds);
    requestRedraw();
}

void GlobeWidget::readInstruments() {
    const osgEarth::Viewpoint viewpoint = m_manipulator->getViewpoint();
    double fieldOfViewDegrees = 0.0;
    double aspect = 0.0;
    double nearMetres = 0.0;
    double farMetres = 0.0;
    if (!viewpoint.isValid() || !m_viewer->getCamera()->getProjectionMatrixAsPerspective(
                                    fieldOfViewDegrees, aspect, nearMetres, farMetres)) {
        return;
    }
    m_compass->setHeading(viewpoint.heading()->as(osgEarth::Units::DEGREES));
    const double heightMetres = 2.0 * std::tan(osg::DegreesToRadians(fieldOfViewDegrees) / 2.0) *
                                viewpoint.range()->as(osgEarth::Units::METERS);
    m_scaleBar->setMetresPerPixel(heightMetres / height());
}

void GlobeWidget::reportPointer() {
    if (!m_pointerMoved) {
        return;
    }
    m_pointerMoved = false;
    osg::Vec3d world;
    osgEarth::GeoPoint point;
    osgEarth::MapNode* mapNode = m_map.mapNode();
    const bool onGlobe = mapNode->getTerrain()->getWorldCoordsUnderMouse(
        m_viewer.get(), m_events->deviceX(m_pointer), m_events->deviceY(m_pointer), world);
    if (onGlobe && point.fromWorld(mapNode->getMapSRS()->getGeographicSRS(), world)) {
        emit pointerOnGlobe(point.x(), point.y(), point.z());
    } else {
        emit pointerOffGlobe();
    }
}

void GlobeWidget::mousePressEvent(QMouseEvent* event) {
    m_events->mousePress(*event);
    requestRedraw();
}

void GlobeWidget::mouseReleaseEvent(QMouseEvent* event) {
    m_events->mouseRelease(*event);
    requestRedraw();
}

void GlobeWidget::mouseDoubleClickEvent(QMouseEvent* event) {
    m_events->mouseDoubleClick(*event);
    requestRedraw();
}

void GlobeWidget::mouseMoveEvent(QMouseEvent* event) {
    m_events->mouseMove(*event);
    m_pointer = event->position();
    m_pointerMoved = true;
    requestRedraw();
}

void GlobeWidget::wheelEvent(QWheelEvent* event) {
    m_events->wheel(*event);
    event->accept();
    requestRedraw();
}

void GlobeWidget::keyPressEvent(QKeyEvent* event) {
    m_heldKeys.insert(osgKeySymbol(*event));
    m_events->keyPress(*event);
    requestRedraw();
}

void GlobeWidget::keyReleaseEvent(QKeyEvent* event) {
    if (event->isAutoRepeat()) {
        return;
    }
    m_heldKeys.erase(osgKeySymbol(*event));
    m_events->keyRelease(*event);
    requestRedraw();
}

// The release of a key that is held while the focus goes elsewhere never arrives here.
void GlobeWidget::releaseHeldKeys() {
    for (const int key : m_heldKeys) {
        m_viewer->getEventQueue()->keyRelease(key);
    }
    m_heldKeys.clear();
    requestRedraw();
}

void GlobeWidget::focusOutEvent(QFocusEvent* event) {
    releaseHeldKeys();
    QOpenGLWidget::focusOutEvent(event);
}

void GlobeWidget::showEvent(QShowEvent* event) {
    window()->installEventFilter(this);
    QOpenGLWidget::showEvent(event);
}

// A dialog takes the keyboard also where no window manager moves the focus.
bool GlobeWidget::eventFilter(QObject* watched, QEvent* event) {
    if (event->type() == QEvent::WindowBlocked) {
        releaseHeldKeys();
    }
    return QOpenGLWidget::eventFilter(watched, event);
}

void GlobeWidget::leaveEvent(QEvent* event) {
    m_pointerMoved = false;
    emit pointerOffGlobe();
    QOpenGLWidget::leaveEvent(event);
}
