// How a project of a thousand kilometres is worked with, in the real windows.
//   bench_long_line PROJECT [--server] [--edits]
// PROJECT, a computed project folder (bench/make_line.py makes large ones), is changed: --server moves its database to a
// server of the program's own first. Times go from the event to when the window answers the next one: on the clock, and of
// the processor for the window's thread; --edits leaves out what only looks. "peak" is the most memory that the process has had by then.
#include "bench/Figures.h"
#include "bench/ThreadTime.h"

#include "tests/inspection/windows/WindowFixture.h"
#include "tests/plugin/PluginHost.h"
#include "tests/support/MariaDbServer.h"

#include "host/inspection/AVWindow.h"
#include "host/inspection/EditHistory.h"
#include "host/inspection/StationWindow.h"
#include "workbench/inspection/table/AnomalyColumns.h"
#include "workbench/inspectiondata/database/DatabaseMove.h"

#include <QApplication>
#include <QComboBox>
#include <QElapsedTimer>
#include <QLineEdit>
#include <QTableView>
#include <QTest>
#include <QToolButton>
#include <QTreeWidget>

#include <sys/resource.h>

#include <algorithm>
#include <cstdlib>
#include <functional>
#include <numeric>
#include <random>

using namespace inspection;

namespace {

constexpr int kRounds = 3;
constexpr int kPatienceMilliseconds = 300000;

double peakMegabytes() {
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return static_cast<double>(usage.ru_maxrss) / 1024.0;
}

[[noreturn]] void fail(const char* cause) {
    std::fprintf(stderr, "%s\n", cause);
    std::_Exit(1);
}

struct Times {
    std::vector<double> seconds;
    std::vector<double> processorSeconds;

    void print(const char* what) const {
        std::printf("%-34s %8.3f s %8.3f s   peak %5.0f MB\n", what, median(seconds),
                    median(processorSeconds), peakMegabytes());
        std::fflush(stdout);
    }
};

/// Until everything is done that the event has put off, painting too.
double measure(Times& times, const std::function<void()>& event) {
    const double processor = threadSeconds();
    QElapsedTimer timer;
    timer.start();
    event();
    QApplication::processEvents();
    times.seconds.push_back(static_cast<double>(timer.nsecsElapsed()) / 1e9);
    times.processorSeconds.push_back(threadSeconds() - processor);
    return times.processorSeconds.back();
}

void once(const char* what, const std::function<void()>& event) {
    Times times;
    measure(times, event);
    times.print(what);
}

class Bench {
public:
    explicit Bench(PluginHost& host) : m_host(host) {
        m_windows.resize(1200, 800);
        context().GetStationWindow()->setParent(&m_windows);
        context().GetStationWindow()->setGeometry(0, 0, 300, 800);
        context().GetAVWindow()->setParent(&m_windows);
        context().GetAVWindow()->setGeometry(300, 0, 900, 800);
        context().GetStationWindow()->show();
        context().GetAVWindow()->show();
        m_windows.show();
    }
    ~Bench() {
        context().GetStationWindow()->setParent(&m_host.window);
        context().GetAVWindow()->setParent(&m_host.window);
    }

    void open(const QString& folder) {
        Times opening;
        Times showing;
        for (int round = 0; round < kRounds; ++round) {
            context().closeProject();
            measure(opening, [&] {
                if (const auto problem = context().openProject(folder)) {
                    fail(qPrintable(*problem));
                }
                QApplication::processEvents();
                m_host.globe->grab();
            });
            measure(showing, [&] { context().showComputedStations(); });
        }
        opening.print("open");
        showing.print("first stations ticked");
    }

    /// With all that it has on the globe.
    void close() {
        if (!QTest::qWaitFor([&] { return shownObjects() == objects(); }, kPatienceMilliseconds)) {
            fail("not all special objects come onto the globe");
        }
        once("close", [] { context().closeProject(); });
    }

    void tickAll() {
        // What is still to come onto the globe makes no difference from now on.
        once("tick all", [&] { clickButton("全选"); });
        once("  until all are on the globe", [&] {
            if (!QTest::qWaitFor([&] { return shownAnomalies() == anomalies(); }, kPatienceMilliseconds)) {
                fail("not all anomalies come onto the globe");
            }
        });
        tree().setCurrentItem(tree().topLevelItem(1));
        once("whole line into the table", [&] { tree().setCurrentItem(tree().topLevelItem(0)); });
    }

    void findStations() {
        auto* search = m_windows.findChild<QLineEdit*>("stationSearch");
        if (!search) {
            return;
        }
        Times seconds;
        for (const QString& words :
             {QString("1"), QString("12"), QString(), QString("T00"), QString("K3"), QString()}) {
            measure(seconds, [&] { search->setText(words); });
        }
        seconds.print("search in the tree");
    }

    /// Nothing has asked for distances before, so that all of them are measured now.
    void sortByDistance() {
        once("first order by distance",
             [&] { table().sortByColumn(AnomalyColumn::PipeDistance, Qt::AscendingOrder); });
    }

    void sortAndFilter() {
        double worst = 0.0;
        int slowest = 0;
        Times all;
        for (int column = 0; column < AnomalyColumn::Count; ++column) {
            for (const Qt::SortOrder order : {Qt::DescendingOrder, Qt::AscendingOrder}) {
                const double seconds = measure(all, [&] { table().sortByColumn(column, order); });
                if (seconds > worst) {
                    worst = seconds;
                    slowest = column;
                }
            }
        }
        all.print("sort by a column");
        std::printf("  slowest, by %s: %.3f s\n", anomalyColumn(slowest).title.toUtf8().constData(), worst);
        table().sortByColumn(AnomalyColumn::Volume, Qt::DescendingOrder);
        QApplication::processEvents();
        for (const char* name : {"attributeFilter", "signFilter", "distanceFilter", "suggestedFilter"}) {
            auto& box = *m_windows.findChild<QComboBox*>(name);
            Times seconds;
            for (const int index : {1, 2, 0, 1, 0}) {
                measure(seconds, [&] { box.setCurrentIndex(index); });
            }
            seconds.print(name);
        }
        auto& words = *m_windows.findChild<QLineEdit*>("anomalySearch");
        Times seconds;
        for (const QString& text :
             {QString("1"), QString("12"), QString("123"), QString("深挖 1"), QString()}) {
            measure(seconds, [&] { words.setText(text); });
        }
        seconds.print("text search");
    }

    void selectAll() {
        once("select all", [&] { table().selectAll(); });
        once("copy all", [&] { QTest::keyClick(&table(), Qt::Key_C, Qt::ControlModifier); });
        once("select one", [&] { table().selectRow(3); });
    }

    /// Anomalies all over the line, a twentieth of a large one.
    QStringList some(int count) {
        std::vector<int> rows(static_cast<std::size_t>(table().model()->rowCount()));
        std::iota(rows.begin(), rows.end(), 0);
        std::mt19937 dice(1);
        std::shuffle(rows.begin(), rows.end(), dice);
        QStringList names;
        for (int i = 0; i < std::min<int>(count, static_cast<int>(rows.size())); ++i) {
            names << table().model()->index(rows[static_cast<std::size_t>(i)], 0).data().toString();
        }
        return names;
    }

    void edit(int count) {
        Times selecting;
        Times classifying;
        Times undoing;
        Times redoing;
        Times deleting;
        Times restoring;
        const QStringList names = some(count);
        for (int round = 0; round < 3; ++round) {
            measure(selecting, [&] {
                QMetaObject::invokeMethod(context().GetAVWindow(), "SetSelectedbyname",
                                          Q_ARG(QStringList, names));
            });
            // Classes of their own, so that all rows are changed each time.
            const Qt::Key verdict = static_cast<Qt::Key>(Qt::Key_1 + round);
            measure(classifying, [&] { QTest::keyClick(&table(), verdict); });
            measure(undoing, [&] { context().GetEditHistory()->TakeUndo()->Undo(true); });
            measure(redoing, [&] { context().GetEditHistory()->TakeRedo()->Redo(true); });
            const MessageWatch answering;
            measure(deleting, [&] { QTest::keyClick(&table(), Qt::Key_Delete); });
            measure(restoring, [&] { context().GetEditHistory()->TakeUndo()->Undo(true); });
        }
        const QByteArray what = "up to " + QByteArray::number(count);
        selecting.print(("select " + what).constData());
        classifying.print(("classify " + what).constData());
        undoing.print("  undo");
        redoing.print("  redo");
        deleting.print(("delete " + what).constData());
        restoring.print("  undo");
    }

private:
    static InspectionContext& context() { return InspectionContext::instance(); }
    QTreeWidget& tree() { return *m_windows.findChild<QTreeWidget*>("stationTree"); }
    QTableView& table() { return *m_windows.findChild<QTableView*>("anomalyTable"); }
    void clickButton(const QString& text) {
        for (QToolButton* button : m_windows.findChildren<QToolButton*>()) {
            if (button->text() == text) {
                QTest::mouseClick(button, Qt::LeftButton);
            }
        }
    }
    std::size_t anomalies() {
        std::size_t count = 0;
        for (const KV_StationItem* item : context().GetStationWindow()->GetSelectedStationItem()) {
            count += item->m_diffData.m_anomalies.size();
        }
        return count;
    }
    int objects() {
        int count = 0;
        for (int group = 1; group < tree().topLevelItemCount(); ++group) {
            count += tree().topLevelItem(group)->childCount();
        }
        return count;
    }
    int shownObjects() const {
        std::size_t count = 0;
        for (const char* name : {"ROIPoint", "ROIArea", "ROIPolygon"}) {
            count += m_host.groupsNamed(name).size();
        }
        return static_cast<int>(count);
    }
    std::size_t shownAnomalies() const {
        std::size_t count = 0;
        for (const osg::Group* group : m_host.groupsNamed("diffImageOverlay")) {
            count += group->getNumChildren();
        }
        return count;
    }

    PluginHost& m_host;
    QWidget m_windows;
};

/// Gives its folder again.
QString onServer(const QString& folder) {
    MariaDbServer::makeDurable();
    auto project = Project::open(folder);
    if (!project) {
        fail(qPrintable(project.error().message));
    }
    const auto moved = moveDatabase(*project, MariaDbServer::instance().newDatabase(), {});
    if (!moved) {
        fail(qPrintable(moved.error().message));
    }
    return folder;
}

} // namespace

int main(int argc, char** argv) {
    GlobeWidget::installSurfaceFormat();
    QApplication application(argc, argv);
    const QStringList options = QApplication::arguments().mid(2);
    if (argc < 2) {
        fail("bench_long_line PROJECT [--server] [--edits]");
    }
    PluginHost host;
    const QString folder = options.contains("--server") ? onServer(argv[1]) : QString(argv[1]);
    Bench bench(host);
    bench.open(folder);
    bench.tickAll();
    if (!options.contains("--edits")) {
        bench.sortByDistance();
        bench.findStations();
        bench.sortAndFilter();
        bench.selectAll();
    }
    bench.edit(5000);
    bench.close();
    return 0;
}
