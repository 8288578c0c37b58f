// How long an inspector waits: from an event on the real window to the picture that answers it on the screen.
//   bench_latency [CELLS [ANOMALIES [WAIT]]]
// Works on a sample corridor of its own, CELLS long (8192). Times end when the screen's own pixels show the answer.
// Processor time is that of the whole process and hardly depends on what else the machine does. The last rows put
// ANOMALIES (3000) over the whole corridor and compare a frame with one that has none in it. WAIT is a part of the name
// of the only rows that are wanted.
#include "bench/AsTheWorkbench.h"
#include "bench/CorridorInStrips.h"
#include "bench/FrameTime.h"
#include "bench/Screen.h"

#include "tests/app/SampleProject.h"
#include "tests/support/OverlaysOnGlobe.h"
#include "tests/support/Pointer.h"
#include "workbench/app/MainWindow.h"
#include "workbench/inspection/context/InspectionContext.h"
#include "workbench/inspection/images/ImageWindow.h"
#include "workbench/inspection/scene/GlobeNavigation.h"

#include <osgEarthUtil/EarthManipulator>

#include <QApplication>
#include <QComboBox>
#include <QTableView>
#include <QTest>
#include <QToolButton>
#include <QTreeWidget>

#include <cstdio>
#include <cstdlib>

using namespace inspection;

namespace {

constexpr char kTool[] = "查看\\编辑异常";
constexpr int kRounds = 5;
constexpr double kNearMetres = 300.0; ///< from where single anomalies are looked at

struct Waits {
    std::vector<double> seconds;
    std::vector<double> processorSeconds;
    std::vector<double> frames;

    void print(const char* what, double aim) const {
        std::printf("%-46s %7.2f %7.2f %7.2f %9.0f   %s\n", what, median(seconds), aim,
                    median(processorSeconds), median(frames), median(seconds) <= aim ? "" : "OVER");
    }
};

/// From `event` until `isShown`.
void measure(Waits& waits, const std::function<void()>& event, const std::function<bool()>& isShown) {
    const double processor = processorSeconds();
    const unsigned frame = frameNumber();
    QElapsedTimer timer;
    timer.start();
    event();
    if (!QTest::qWaitFor(isShown, kPatienceMilliseconds)) {
        std::fprintf(stderr, "never shown\n");
        std::_Exit(1);
    }
    waits.seconds.push_back(static_cast<double>(timer.nsecsElapsed()) / 1e9);
    waits.processorSeconds.push_back(processorSeconds() - processor);
    waits.frames.push_back(frameNumber() - frame);
}

/// The workbench with the tool, and what an inspector does in it.
class Bench {
public:
    explicit Bench(MainWindow& window) : m_window(window) {}

    GlobeWidget& globe() { return m_window.globe(); }
    QTreeWidget& tree() { return *m_window.findChild<QTreeWidget*>("stationTree"); }
    QTableView& table() { return *m_window.findChild<QTableView*>("anomalyTable"); }
    ImageWindow& images() { return *m_window.findChild<ImageWindow*>(); }
    QComboBox& epochs() { return *m_window.findChild<QComboBox*>("epochs"); }

    void settle() {
        globe().requestRedraw();
        if (!QTest::qWaitFor([this] { return globe().isPictureComplete(); }, kPatienceMilliseconds)) {
            std::fprintf(stderr, "the globe does not come to rest\n");
            std::_Exit(1);
        }
    }
    void tickAll() {
        QTreeWidgetItem* all = tree().topLevelItem(0);
        for (int index = 0; index < all->childCount(); ++index) {
            all->child(index)->setCheckState(0, Qt::Checked);
        }
        tree().setCurrentItem(all->child(0));
        settle();
    }
    void goToStation(int index) {
        tree().setCurrentItem(tree().topLevelItem(0)->child(index));
        settle();
    }
    QString anomaly(int row) { return table().model()->index(row, 0).data().toString(); }
    int rows() { return table().model()->rowCount(); }
    QPoint placeOf(const QString& name) {
        return pixelOnGlobe(globe(), overlayOnGlobe(globe(), name)->getCenter());
    }
    void lookAt(const QString& name, double rangeMetres) {
        const osg::Vec2d centre = overlayOnGlobe(globe(), name)->getCenter();
        flyTo(centre.x(), centre.y(), rangeMetres, 0.0);
        settle();
    }
    bool isRowShownSelected(const QString& name) {
        for (int row = 0; row < rows(); ++row) {
            if (anomaly(row) == name) {
                const QRect cell = table().visualRect(table().model()->index(row, 0));
                return table().selectionModel()->isRowSelected(row) &&
                       screenColour(*table().viewport(), cell.topLeft() + QPoint(2, 2)) !=
                           table().palette().base().color();
            }
        }
        return false;
    }
    void dragRectangle(const QRect& place) {
        movePointerTo(place.topLeft());
        settle();
        globe().setFocus();
        QTest::keyPress(&globe(), Qt::Key_Shift);
        QTest::mousePress(&globe(), Qt::LeftButton, Qt::ShiftModifier, place.topLeft());
        movePointer(globe(), place.center(), Qt::LeftButton);
        settle();
        movePointer(globe(), place.bottomRight(), Qt::LeftButton);
        settle();
        QTest::mouseRelease(&globe(), Qt::LeftButton, Qt::ShiftModifier, place.bottomRight());
        QTest::keyRelease(&globe(), Qt::Key_Shift);
        settle();
    }
    /// Where no anomaly is, so that none is selected.
    void clickBesides() {
        const QPoint corner(60, 60);
        movePointerTo(corner);
        settle();
        QTest::mouseClick(&globe(), Qt::LeftButton, {}, corner);
        settle();
    }
    void movePointerTo(const QPoint& place) { movePointer(globe(), place); }

private:
    MainWindow& m_window;
};

// The pointer rests on the anomaly, as it does before a deliberate click.
Waits clickToSelection(Bench& bench) {
    Waits waits;
    const QString name = bench.anomaly(0);
    bench.lookAt(name, 200.0);
    const QPoint place = bench.placeOf(name);
    for (int round = 0; round < kRounds; ++round) {
        bench.clickBesides();
        bench.movePointerTo(place);
        bench.settle();
        measure(
            waits, [&] { QTest::mouseClick(&bench.globe(), Qt::LeftButton, {}, place); },
            [&] {
                return isYellow(screenColour(bench.globe(), place + QPoint(3, 3))) &&
                       bench.isRowShownSelected(name);
            });
    }
    return waits;
}

Waits rowToSelection(Bench& bench) {
    Waits waits;
    const QString name = bench.anomaly(0);
    bench.lookAt(name, 200.0);
    const QPoint place = bench.placeOf(name);
    for (int round = 0; round < kRounds; ++round) {
        bench.table().selectRow(1);
        bench.settle();
        const QRect row = bench.table().visualRect(bench.table().model()->index(0, 0));
        measure(
            waits, [&] { QTest::mouseClick(bench.table().viewport(), Qt::LeftButton, {}, row.center()); },
            [&] {
                return isYellow(screenColour(bench.globe(), place + QPoint(3, 3))) &&
                       bench.isRowShownSelected(name);
            });
    }
    return waits;
}

// Until the ground of the whole view is that of the other epoch.
void switchEpoch(Waits& waits, Bench& bench) {
    const int other = 1 - bench.epochs().currentIndex();
    measure(
        waits,
        [&] {
            bench.epochs().setFocus();
            QTest::keyClick(&bench.epochs(), other == 1 ? Qt::Key_Down : Qt::Key_Up);
        },
        [&] { return bench.epochs().currentIndex() == other && bench.globe().isPictureComplete(); });
}

// Each time where the other epoch has not been seen before.
Waits switchEpochElsewhere(Bench& bench) {
    Waits waits;
    for (int round = 0; round < kRounds; ++round) {
        bench.goToStation(round);
        bench.lookAt(bench.anomaly(0), kNearMetres);
        switchEpoch(waits, bench);
    }
    return waits;
}

Waits switchEpochAgain(Bench& bench, double rangeMetres) {
    Waits waits;
    bench.lookAt(bench.anomaly(0), rangeMetres);
    Waits first;
    switchEpoch(first, bench);
    for (int round = 0; round < kRounds; ++round) {
        switchEpoch(waits, bench);
    }
    return waits;
}

// Each time another anomaly, from one end of the corridor to the other.
Waits flyToAnomaly(Bench& bench) {
    Waits waits;
    const int stations = bench.tree().topLevelItem(0)->childCount();
    for (int round = 0; round < kRounds; ++round) {
        const int station = round % 2 == 0 ? round / 2 : stations - 1 - round / 2;
        bench.goToStation(station);
        const QRect row = bench.table().visualRect(bench.table().model()->index(0, 0));
        QTest::mouseClick(bench.table().viewport(), Qt::LeftButton, {}, row.center());
        bench.settle();
        measure(
            waits, [&] { QTest::mouseDClick(bench.table().viewport(), Qt::LeftButton, {}, row.center()); },
            [&] {
                return !bench.images().isReading() && !bench.globe().getManipulator()->isSettingViewpoint() &&
                       bench.globe().isPictureComplete();
            });
    }
    return waits;
}

std::unique_ptr<MainWindow> openWindow(const QString& folder) {
    auto window = std::make_unique<MainWindow>();
    window->resize(1600, 1000);
    window->show();
    if (!QTest::qWaitForWindowExposed(window.get()) || window->openProject(folder)) {
        std::fprintf(stderr, "no project\n");
        std::_Exit(1);
    }
    window->loadPlugin(TOOL_PLUGIN);
    return window;
}

void measureWaits(const QString& folder, const std::string& only) {
    struct Row {
        const char* what;
        double aimSeconds;
        std::function<Waits(Bench&)> measured;
    };
    const Row rows[] = {
        {"a row to selection in table and globe", 0.3, rowToSelection},
        {"a click on the globe to selection in both", 0.3, clickToSelection},
        {"another epoch for the first time", 1.5,
         [](Bench& bench) {
             Waits waits;
             bench.lookAt(bench.anomaly(0), kNearMetres);
             switchEpoch(waits, bench);
             return waits;
         }},
        {"another epoch, where it was not seen before", 0.6, switchEpochElsewhere},
        {"another epoch again", 0.6, [](Bench& bench) { return switchEpochAgain(bench, kNearMetres); }},
        {"another epoch again, whole corridor", 0.6,
         [](Bench& bench) { return switchEpochAgain(bench, 2500.0); }},
        {"double click to flight's end and images", 1.5, flyToAnomaly},
    };
    const std::unique_ptr<MainWindow> window = openWindow(folder);
    Bench bench(*window);
    bench.tickAll();
    QTest::mouseClick(window->findChild<QToolButton*>(QString::fromUtf8(kTool)), Qt::LeftButton);
    bench.settle();
    std::printf("%-46s %7s %7s %7s %9s\n", "event to picture, s", "median", "aim", "process", "frames");
    for (const Row& row : rows) {
        if (std::string(row.what).find(only) != std::string::npos) {
            row.measured(bench).print(row.what, row.aimSeconds);
        }
    }
}

void measureFrames(const QString& folder, int count) {
    const std::unique_ptr<MainWindow> window = openWindow(folder);
    Bench bench(*window);
    window->goToOverview();
    bench.settle();
    std::printf("\n%-46s %7s %7s %7s\n", "a frame, ms of processor", "median", "ratio", "aim");
    const double empty = frameMilliseconds(bench.globe());
    printFrame("whole corridor, nothing on it", empty, empty);
    bench.tickAll();
    QTest::qWait(1000); // pictures
    bench.settle();
    printFrame((std::to_string(count) + " anomalies on it").c_str(), frameMilliseconds(bench.globe()), empty);
    QTest::mouseClick(window->findChild<QToolButton*>(QString::fromUtf8(kTool)), Qt::LeftButton);
    bench.settle();
    bench.dragRectangle(bench.globe().rect().adjusted(20, 20, -20, -20));
    printFrame("most of them selected", frameMilliseconds(bench.globe()), empty);
    bench.clickBesides();
    printFrame("none selected any more", frameMilliseconds(bench.globe()), empty);
}

} // namespace

int main(int argc, char** argv) {
    GlobeWidget::installSurfaceFormat();
    QApplication application(argc, argv);
    startAsTheWorkbench(application);
    const SampleProject files(argc > 1 ? std::atoi(argv[1]) : 8192);
    const int count = argc > 2 ? std::atoi(argv[2]) : 3000;
    if (!computeStations(files.folder())) {
        return 1;
    }
    const std::string only = argc > 3 ? argv[3] : "";
    measureWaits(files.folder(), only);
    const bool areFramesWanted = std::string("frames").find(only) != std::string::npos;
    if (areFramesWanted && addAnomalies(files.folder(), count, 8.0)) {
        measureFrames(files.folder(), count);
    }
    return 0;
}
