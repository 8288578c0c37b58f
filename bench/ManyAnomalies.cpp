// A line of a thousand kilometres: what thousands of stations with a hundred thousand anomalies cost.
//   bench_many_anomalies [STATIONS [ANOMALIES [CELLS]]]
// Works on a sample corridor of its own, CELLS long (4096), cut into STATIONS (4000) with ANOMALIES (100000) on them.
// A frame is compared with one of the same view and the same run that has no anomaly in it. A block is a time in which
// the window answers nobody.
#include "bench/AsTheWorkbench.h"
#include "bench/CorridorInStrips.h"
#include "bench/FrameTime.h"
#include "bench/Memory.h"
#include "bench/ThreadTime.h"

#include "host/inspection/StationWindow.h"
#include "tests/app/SampleProject.h"
#include "workbench/app/MainWindow.h"
#include "workbench/inspection/context/InspectionContext.h"
#include "workbench/inspection/scene/GlobeNavigation.h"

#include <osgEarth/MapNode>
#include <osgEarthAnnotation/ImageOverlay>
#include <osgEarthUtil/EarthManipulator>

#include <QApplication>
#include <QElapsedTimer>
#include <QTimer>
#include <QToolButton>
#include <QTreeWidget>

#include <algorithm>
#include <functional>
#include <memory>
#include <vector>

namespace {

using osgEarth::Annotation::ImageOverlay;

constexpr double kNearMetres = 120.0; ///< from where some hundred anomalies are seen

std::vector<ImageOverlay*> overlaysOn(osgEarth::MapNode& map) {
    std::vector<ImageOverlay*> overlays;
    for (unsigned child = 0; child < map.getNumChildren(); ++child) {
        osg::Group* group = map.getChild(child)->asGroup();
        if (group && group->getName() == "diffImageOverlay") {
            for (unsigned index = 0; index < group->getNumChildren(); ++index) {
                overlays.push_back(static_cast<ImageOverlay*>(group->getChild(index)));
            }
        }
    }
    return overlays;
}

std::size_t picturesOf(const std::vector<ImageOverlay*>& overlays) {
    return static_cast<std::size_t>(std::count_if(
        overlays.begin(), overlays.end(), [](const ImageOverlay* overlay) { return overlay->getImage(); }));
}

/// The longest time between two ticks of a timer that wants 10 ms, on the clock and of the window's thread alone, which
/// what else the machine does hardly prolongs.
class LongestBlock {
public:
    LongestBlock() {
        m_timer.setTimerType(Qt::PreciseTimer);
        QObject::connect(&m_timer, &QTimer::timeout, [this] { tick(); });
        m_timer.start(10);
        m_since.start();
    }
    double seconds() {
        tick();
        return static_cast<double>(m_longest) / 1e9;
    }
    double processorSeconds() const { return m_longestWork; }

private:
    void tick() {
        m_longest = std::max(m_longest, m_since.nsecsElapsed());
        m_since.restart();
        m_longestWork = std::max(m_longestWork, threadSeconds() - m_workedBefore);
        m_workedBefore = threadSeconds();
    }
    QTimer m_timer;
    QElapsedTimer m_since;
    qint64 m_longest = 0;
    double m_workedBefore = threadSeconds();
    double m_longestWork = 0.0;
};

class Bench {
public:
    explicit Bench(MainWindow& window) : m_window(window) {}

    GlobeWidget& globe() { return m_window.globe(); }
    std::vector<ImageOverlay*> overlays() { return overlaysOn(*globe().getMapNode()); }
    std::size_t pictures() { return picturesOf(overlays()); }

    void waitFor(const char* what, const std::function<bool()>& done) {
        if (!QTest::qWaitFor(done, 5 * kPatienceMilliseconds)) {
            std::fprintf(stderr, "never: %s\n", what);
            std::_Exit(1);
        }
    }
    /// Until the pictures of this view have come.
    void settle() {
        std::size_t before = 0;
        QElapsedTimer since;
        since.start();
        globe().requestRedraw();
        waitFor("the globe at rest", [&] {
            const std::size_t present = pictures();
            if (present != before || !globe().isPictureComplete()) {
                before = present;
                since.restart();
            }
            return since.elapsed() > 1500;
        });
    }
    /// Thousands of strips of a metre are more lines than any corridor shows.
    void hideStationLimits() {
        auto& layers = *m_window.findChild<QTreeWidget*>("layers");
        for (QTreeWidgetItem* row :
             layers.findItems(QString::fromUtf8("站段范围"), Qt::MatchExactly | Qt::MatchRecursive)) {
            row->setCheckState(0, Qt::Unchecked);
        }
    }
    /// Where one of the first stations has its anomalies.
    void findNearPlace() {
        QTreeWidgetItem& stations = *m_window.findChild<QTreeWidget*>("stationTree")->topLevelItem(0);
        QTreeWidgetItem* station = stations.child(stations.childCount() / 20);
        station->setCheckState(0, Qt::Checked);
        waitFor("the station's overlays", [this] { return !overlays().empty(); });
        m_near = overlays().front()->getCenter();
        station->setCheckState(0, Qt::Unchecked);
    }
    void lookFromAfar() {
        m_window.goToOverview();
        settle();
    }
    void lookNear() {
        inspection::flyTo(m_near.x(), m_near.y(), kNearMetres, 0.0);
        settle();
    }
    double frame() { return frameMilliseconds(globe()); }
    void tickAll() {
        for (QToolButton* button : window().findChildren<QToolButton*>()) {
            if (button->text() == QString::fromUtf8("全选")) {
                QTest::mouseClick(button, Qt::LeftButton);
            }
        }
    }
    /// From an order to turn to the picture that shows it.
    double answerSeconds() {
        const unsigned before = frameNumber();
        QElapsedTimer timer;
        timer.start();
        osgEarth::Viewpoint view = globe().getManipulator()->getViewpoint();
        view.heading()->set(view.heading()->as(osgEarth::Units::DEGREES) + 1.0, osgEarth::Units::DEGREES);
        globe().getManipulator()->setViewpoint(view, 0.0);
        globe().requestRedraw();
        waitFor("a frame", [&] { return frameNumber() > before; });
        return static_cast<double>(timer.nsecsElapsed()) / 1e9;
    }

private:
    StationWindow& window() { return *IORVAContext::Instance()->GetStationWindow(); }
    MainWindow& m_window;
    osg::Vec2d m_near; ///< longitude and latitude, degrees
};

void printFigure(const char* what, double value, double aim) {
    std::printf("%-46s %7.2f %7s %7.2f   %s\n", what, value, "", aim, value <= aim ? "" : "OVER");
}

struct EmptyFrames {
    double afar = 0.0;
    double near = 0.0;
};

EmptyFrames measureEmpty(Bench& bench) {
    EmptyFrames empty;
    bench.hideStationLimits();
    bench.findNearPlace();
    bench.lookFromAfar();
    empty.afar = bench.frame();
    bench.lookNear();
    empty.near = bench.frame();
    bench.lookFromAfar();
    return empty;
}

void measureFrames(Bench& bench, const EmptyFrames& empty) {
    bench.lookFromAfar();
    printFrame("  frame, whole corridor", bench.frame(), empty.afar);
    std::printf("%-46s %7zu\n", "  pictures", bench.pictures());
    bench.lookNear();
    printFrame("  frame, near", bench.frame(), empty.near);
    std::printf("%-46s %7zu\n", "  pictures", bench.pictures());
    bench.lookFromAfar();
    printFrame("  frame, whole corridor again", bench.frame(), empty.afar);
    printFigure("  memory, MB", residentMegabytes(), 1500.0);
}

/// `tick` is what the user does.
void measureTicking(Bench& bench, std::size_t anomalies, const std::function<void()>& tick) {
    LongestBlock block;
    QElapsedTimer timer;
    timer.start();
    tick();
    QApplication::processEvents();
    printFigure("  until the window answers, s", static_cast<double>(timer.nsecsElapsed()) / 1e9, 0.5);
    double answer = 0.0;
    bench.waitFor("all overlays", [&] {
        answer = std::max(answer, bench.answerSeconds());
        return bench.overlays().size() >= anomalies;
    });
    printFigure("  longest until a turn is seen, s", answer, 0.2);
    printFigure("  longest block, s", block.seconds(), 0.1);
    printFigure("  longest block, s of the thread's processor", block.processorSeconds(), 0.1);
    std::printf("%-46s %7.2f\n", "  all of them ticked after, s",
                static_cast<double>(timer.nsecsElapsed()) / 1e9);
}

std::unique_ptr<MainWindow> openWindow(const QString& folder) {
    auto window = std::make_unique<MainWindow>();
    window->resize(1600, 1000);
    window->show();
    if (!QTest::qWaitForWindowExposed(window.get()) || window->openProject(folder)) {
        std::fprintf(stderr, "no project\n");
        std::_Exit(1);
    }
    return window;
}

} // namespace

int main(int argc, char** argv) {
    GlobeWidget::installSurfaceFormat();
    QApplication application(argc, argv);
    startAsTheWorkbench(application);
    const int stations = argc > 1 ? std::atoi(argv[1]) : 4000;
    const int anomalies = argc > 2 ? std::atoi(argv[2]) : 100000;
    const SampleProject files(argc > 3 ? std::atoi(argv[3]) : 4096);
    if (!computeStations(files.folder()) || !splitStations(files.folder(), stations) ||
        !addAnomalies(files.folder(), anomalies, 3.0)) {
        return 1;
    }
    const std::unique_ptr<MainWindow> window = openWindow(files.folder());
    Bench bench(*window);
    std::printf("%-46s %7s %7s %7s\n", "frames in ms of processor", "", "ratio", "aim");
    const EmptyFrames empty = measureEmpty(bench);
    printFrame("empty frame, whole corridor", empty.afar, empty.afar);
    printFrame("empty frame, near", empty.near, empty.near);
    std::printf("the first that are shown\n");
    const auto first = std::min<std::size_t>(19000, static_cast<std::size_t>(anomalies) * 9 / 10);
    measureTicking(bench, first, [] { InspectionContext::instance().showComputedStations(); });
    measureFrames(bench, empty);
    std::printf("all of them\n");
    const auto all = static_cast<std::size_t>(anomalies) * 9 / 10;
    measureTicking(bench, all, [&] { bench.tickAll(); });
    measureFrames(bench, empty);
    return 0;
}
