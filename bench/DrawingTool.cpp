// How live the drawing of a special area is on a steep slope, in the tool's own library and the real windows.
//   bench_drawing_tool [VERTICES]
// Each figure is a multiple of a frame of the same globe without a drawing, in the same run.
#include "bench/Figures.h"

#include "tests/plugin/PluginHost.h"
#include "tests/support/OverlaysOnGlobe.h"
#include "tests/support/SmallProject.h"

#include <osgEarth/SpatialReference>
#include <osgEarth/Viewpoint>
#include <osgEarthUtil/EarthManipulator>
#include <osgViewer/View>

#include <QApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QTemporaryDir>

#include <cmath>
#include <cstdio>
#include <cstdlib>

using osgGA::GUIEventAdapter;

namespace {

constexpr char kTool[] = "添加特殊面";
constexpr int kRounds = 25;

osg::Vec2d onRidge(double east, double north) {
    const auto* srs = osgEarth::SpatialReference::get("EPSG:4546");
    osg::Vec3d lonLat;
    srs->transform(osg::Vec3d(SmallProject::kLeft + east, SmallProject::kTop - 80.0 + north, 0.0),
                   srs->getGeographicSRS(), lonLat);
    return {lonLat.x(), lonLat.y()};
}

class Bench {
public:
    explicit Bench(PluginHost& host) : m_host(host) {}

    /// The tool's own time for an event at a place on the ridge, and that of the frame after it.
    /// Milliseconds.
    struct Times {
        double event;
        double frame;
    };
    Times send(GUIEventAdapter::EventType type, const osg::Vec2d& lonLat, int button = 0) {
        const QPoint place = pixelOnGlobe(*m_host.globe, lonLat);
        const osg::ref_ptr<GUIEventAdapter> event = new GUIEventAdapter;
        event->setEventType(type);
        event->setX(static_cast<float>(place.x()));
        event->setY(static_cast<float>(m_host.globe->height() - 1 - place.y()));
        event->setButton(button);
        QElapsedTimer timer;
        timer.start();
        m_host.handler(kTool).handle(*event,
                                     *dynamic_cast<osgGA::GUIActionAdapter*>(m_host.globe->getViewer()));
        const double spent = milliseconds(timer);
        return {spent, frame()};
    }
    double frame() {
        QElapsedTimer timer;
        timer.start();
        m_host.globe->grabFramebuffer();
        return milliseconds(timer);
    }

private:
    static double milliseconds(const QElapsedTimer& timer) {
        return static_cast<double>(timer.nsecsElapsed()) / 1e6;
    }
    PluginHost& m_host;
};

/// Medians over pointer moves to and fro across the crest.
Bench::Times moves(Bench& bench) {
    std::vector<double> events;
    std::vector<double> frames;
    for (int round = 0; round < kRounds; ++round) {
        const auto times = bench.send(GUIEventAdapter::MOVE, onRidge(80.0 + 40.0 * (round % 2), 30.0));
        events.push_back(times.event);
        frames.push_back(times.frame);
    }
    return {median(events), median(frames)};
}

/// Vertices on an ellipse over the crest; the medians over the last of them, when the ring is longest.
Bench::Times vertices(Bench& bench, int count) {
    std::vector<double> events;
    std::vector<double> frames;
    for (int index = 0; index < count; ++index) {
        const double angle = 2.0 * M_PI * index / (count + 1);
        const auto times = bench.send(GUIEventAdapter::PUSH,
                                      onRidge(100.0 + 60.0 * std::cos(angle), 40.0 + 25.0 * std::sin(angle)),
                                      GUIEventAdapter::LEFT_MOUSE_BUTTON);
        if (index >= count - kRounds) {
            events.push_back(times.event);
            frames.push_back(times.frame);
        }
    }
    return {median(events), median(frames)};
}

int run(int count) {
    const SmallProject files;
    SmallProject::writeHeights(files.beside("ridge.tif"), SmallProject::ridgeHeight, 4546);
    PluginHost host;
    host.window.resize(1024, 768);
    if (InspectionContext::instance().openProject(files.folder()) ||
        host.globe->map().addElevation("ridge", files.beside("ridge.tif").toStdString())) {
        std::fprintf(stderr, "no project\n");
        return 1;
    }
    const osg::Vec2d middle = onRidge(100.0, 40.0);
    host.globe->getManipulator()->setViewpoint(
        osgEarth::Viewpoint("", middle.x(), middle.y(), 20.0, 0.0, -25.0, 220.0));
    host.settle();
    Bench bench(host);
    std::vector<double> frames;
    for (int round = 0; round < kRounds; ++round) {
        frames.push_back(bench.frame());
    }
    const double plain = median(frames);
    std::printf("a frame of the globe takes %.1f ms\n", plain);

    host.click(kTool);
    host.settle();
    const auto vertex = vertices(bench, count);
    report("vertex, the tool's own time", vertex.event / plain, 0.5, "frames");
    report("vertex, the frame after it", vertex.frame / plain, 2.0, "frames");
    const auto move = moves(bench);
    report("pointer move with rubber band, the tool's own time", move.event / plain, 0.5, "frames");
    report("pointer move with rubber band, the frame after it", move.frame / plain, 1.5, "frames");
    return 0;
}

} // namespace

int main(int argc, char** argv) {
    GlobeWidget::installSurfaceFormat();
    QApplication application(argc, argv);
    // The marker's picture lies beside the programs; the attribute words are not to be touched.
    const QTemporaryDir folder;
    QFile::link(QCoreApplication::applicationDirPath() + "/icon", folder.filePath("icon"));
    QDir::setCurrent(folder.path());
    return run(argc > 1 ? std::atoi(argv[1]) : 100);
}
