// The workbench in the hands of somebody restless: whether its memory grows.
//   bench_soak [SECONDS [SEED [STATIONS [ANOMALIES]]]]
// Works on a sample corridor of its own, cut into STATIONS (100) with ANOMALIES (5000) on them, for SECONDS (900).
// Memory is told at the start, after each tenth, and at the end: what is resident, and what of it GDAL keeps of the
// rasters, which is bounded by a share of the machine's memory. The same seed takes the same steps.
#include "bench/AsTheWorkbench.h"
#include "bench/CorridorInStrips.h"
#include "bench/Memory.h"

#include "tests/app/SampleProject.h"
#include "workbench/app/MainWindow.h"
#include "workbench/inspection/scene/GlobeNavigation.h"
#include "workbench/viewer/GlobeWidget.h"

#include <osgEarthUtil/EarthManipulator>

#include <QApplication>
#include <QComboBox>
#include <QElapsedTimer>
#include <QLineEdit>
#include <QTableView>
#include <QTest>
#include <QToolButton>
#include <QTreeWidget>

#include <gdal.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <random>

namespace {

constexpr char kTool[] = "查看\\编辑异常";

class Hands {
public:
    Hands(MainWindow& window, unsigned seed)
        : m_window(window), m_random(seed), m_centre(view().focalPoint().get()) {}

    void step() {
        using Step = void (Hands::*)();
        static constexpr std::array<Step, 17> kSteps = {
            &Hands::fly,         &Hands::fly,     &Hands::turnWheel,   &Hands::drag,      &Hands::click,
            &Hands::tick,        &Hands::tick,    &Hands::goToStation, &Hands::selectRow, &Hands::activateRow,
            &Hands::chooseEpoch, &Hands::compare, &Hands::judgeRows,   &Hands::undo,      &Hands::redo,
            &Hands::order,       &Hands::search};
        (this->*kSteps[std::size_t(below(int(kSteps.size())))])();
        QTest::qWait(20 + below(400));
    }

private:
    GlobeWidget& globe() { return m_window.globe(); }
    osgEarth::Viewpoint view() { return globe().getManipulator()->getViewpoint(); }
    QTreeWidgetItem& stations() { return *m_window.findChild<QTreeWidget*>("stationTree")->topLevelItem(0); }
    QTableView& table() { return *m_window.findChild<QTableView*>("anomalyTable"); }

    int below(int count) { return std::uniform_int_distribution<int>(0, count - 1)(m_random); }
    double share() { return std::uniform_real_distribution<double>(0.0, 1.0)(m_random); }
    QPoint place() { return {10 + below(globe().width() - 20), 10 + below(globe().height() - 20)}; }

    /// Along the corridor, from close above the ground to where all of it is seen.
    void fly() {
        const double lon = m_centre.x() + 0.015 * (share() - 0.5);
        inspection::flyTo(lon, m_centre.y() + 0.002 * (share() - 0.5), 30.0 + 3000.0 * share() * share(),
                          share() < 0.5 ? 0.0 : 0.5);
    }
    void turnWheel() {
        const int delta = below(2) == 0 ? 120 : -120;
        QWheelEvent event(globe().rect().center(), globe().mapToGlobal(globe().rect().center()), {},
                          QPoint(0, delta), Qt::NoButton, Qt::NoModifier, Qt::NoScrollPhase, false);
        QApplication::sendEvent(&globe(), &event);
    }
    void drag() {
        QTest::mousePress(&globe(), Qt::MiddleButton, {}, place());
        QTest::mouseMove(&globe(), place());
        QTest::qWait(30);
        QTest::mouseRelease(&globe(), Qt::MiddleButton, {}, place());
    }
    void click() {
        const QPoint at = place();
        QTest::mouseMove(&globe(), at);
        QTest::qWait(50);
        QTest::mouseClick(&globe(), Qt::LeftButton, {}, at);
    }
    void tick() {
        QTreeWidgetItem* station = stations().child(below(stations().childCount()));
        station->setCheckState(0, station->checkState(0) == Qt::Checked ? Qt::Unchecked : Qt::Checked);
    }
    void goToStation() {
        stations().treeWidget()->setCurrentItem(stations().child(below(stations().childCount())));
    }
    void selectRow() {
        if (const int rows = table().model()->rowCount()) {
            table().selectRow(below(rows));
        }
    }
    void activateRow() {
        if (const int rows = table().model()->rowCount()) {
            const QModelIndex row = table().model()->index(below(rows), 0);
            table().scrollTo(row);
            const QPoint at = table().visualRect(row).center();
            QTest::mouseClick(table().viewport(), Qt::LeftButton, {}, at);
            QTest::mouseDClick(table().viewport(), Qt::LeftButton, {}, at);
        }
    }
    void judgeRows() {
        if (const int rows = table().model()->rowCount()) {
            const int first = below(rows);
            const int last = std::min(rows - 1, first + below(200));
            const QAbstractItemModel& model = *table().model();
            table().selectionModel()->select(
                {model.index(first, 0), model.index(last, model.columnCount() - 1)},
                QItemSelectionModel::ClearAndSelect);
            QTest::keyClick(&table(), static_cast<Qt::Key>(Qt::Key_1 + below(4)));
        }
    }
    void undo() { QTest::keyClick(&m_window, Qt::Key_Z, Qt::ControlModifier); }
    void redo() { QTest::keyClick(&m_window, Qt::Key_Y, Qt::ControlModifier); }
    void order() {
        table().sortByColumn(below(table().model()->columnCount()),
                             below(2) == 0 ? Qt::AscendingOrder : Qt::DescendingOrder);
    }
    /// Every other time for everything.
    void search() {
        auto& words = *m_window.findChild<QLineEdit*>("anomalySearch");
        words.setText(words.text().isEmpty() ? QString::number(below(100)) : QString());
    }
    void chooseEpoch() { chooseIn("epochs"); }
    void compare() { chooseIn("comparison"); }
    void chooseIn(const char* name) {
        auto* box = m_window.findChild<QComboBox*>(name);
        if (box && box->count() > 0) {
            box->setCurrentIndex(below(box->count()));
            emit box->activated(box->currentIndex());
        }
    }

    MainWindow& m_window;
    std::mt19937 m_random;
    osgEarth::GeoPoint m_centre;
};

void settle(MainWindow& window) {
    window.globe().requestRedraw();
    if (!QTest::qWaitFor([&] { return window.globe().isPictureComplete(); }, 60000)) {
        std::fprintf(stderr, "the globe does not come to rest\n");
        std::_Exit(1);
    }
}

void printMemory(qint64 seconds, int steps) {
    std::printf("%8lld %8d %10.0f %8.0f\n", static_cast<long long>(seconds), steps, residentMegabytes(),
                static_cast<double>(GDALGetCacheUsed64()) / 1048576.0);
}

void soak(MainWindow& window, int seconds, unsigned seed) {
    constexpr int kParts = 10;
    Hands hands(window, seed);
    std::printf("%8s %8s %10s %8s   MB\n", "s", "steps", "resident", "rasters");
    QElapsedTimer timer;
    timer.start();
    int steps = 0;
    printMemory(0, 0);
    for (int part = 1; part <= kParts; ++part) {
        while (timer.elapsed() < 1000LL * seconds * part / kParts) {
            hands.step();
            ++steps;
        }
        printMemory(timer.elapsed() / 1000, steps);
    }
}

} // namespace

int main(int argc, char** argv) {
    GlobeWidget::installSurfaceFormat();
    QApplication application(argc, argv);
    startAsTheWorkbench(application);
    const auto argument = [&](int index, int usual) { return argc > index ? std::atoi(argv[index]) : usual; };
    const SampleProject files(4096);
    if (!computeStations(files.folder()) || !splitStations(files.folder(), argument(3, 100)) ||
        !addAnomalies(files.folder(), argument(4, 5000), 3.0)) {
        return 1;
    }
    MainWindow window;
    window.resize(1600, 1000);
    window.show();
    if (!QTest::qWaitForWindowExposed(&window) || window.openProject(files.folder())) {
        std::fprintf(stderr, "no project\n");
        return 1;
    }
    window.loadPlugin(TOOL_PLUGIN);
    QTest::mouseClick(window.findChild<QToolButton*>(QString::fromUtf8(kTool)), Qt::LeftButton);
    window.goToOverview();
    settle(window);
    soak(window, argument(1, 900), static_cast<unsigned>(argument(2, 1)));
    return 0;
}
