// How quickly the anomaly tool answers over ten thousand anomalies, in the tool's own library and the real
// windows.
//   bench_anomaly_tool [ANOMALIES]
// Each figure stands beside its limit; frames are the globe's own frames in the same run.
#include "bench/Figures.h"
#include "bench/StationStrips.h"

#include "host/Gbk.h"
#include "host/inspection/AVWindow.h"
#include "host/inspection/KVImageWindow.h"
#include "host/inspection/StationWindow.h"
#include "tests/plugin/PluginHost.h"
#include "tests/support/OverlaysOnGlobe.h"
#include "tests/support/Pointer.h"
#include "tests/support/SamplePair.h"
#include "tests/support/SmallProject.h"
#include "workbench/inspection/images/ImageWindow.h"
#include "workbench/inspectiondata/compute/ComputeAnomalies.h"
#include "workbench/inspectiondata/database/AnomalyTable.h"
#include "workbench/inspectiondata/database/PipelineDatabase.h"
#include "workbench/inspectiondata/project/Project.h"

#include <osgEarth/SpatialReference>
#include <osgEarth/Viewpoint>
#include <osgEarthAnnotation/ImageOverlay>
#include <osgEarthUtil/EarthManipulator>
#include <osgViewer/View>

#include <QApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QMouseEvent>
#include <QTest>
#include <QTreeWidget>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>

using namespace inspection;
using osgEarth::Annotation::ImageOverlay;

namespace {

constexpr char kTool[] = "查看\\编辑异常";
constexpr int kRounds = 15;

/// A field of squares of 0.5 m all over the first station.
std::vector<SdiffData> manyAnomalies(int count) {
    const auto* srs = osgEarth::SpatialReference::get("EPSG:4547");
    std::vector<SdiffData> anomalies;
    const int columns = static_cast<int>(std::ceil(std::sqrt(count * 100.0 / 80.0)));
    const double step = 98.0 / columns;
    for (int index = 0; index < count; ++index) {
        SdiffData anomaly;
        anomaly.name = "M-" + std::to_string(100000 + index);
        anomaly.attribute = index % 3 == 0 ? toGbk("深挖") : std::string();
        anomaly.isFill = index % 2 == 0;
        const int row = index / columns;
        anomaly.xMin = SmallProject::kLeft + 1.0 + index % columns * step;
        anomaly.yMin = SmallProject::kTop - 79.0 + row * step;
        anomaly.xMax = anomaly.xMin + step * 0.6;
        anomaly.yMax = anomaly.yMin + step * 0.6;
        anomaly.x = (anomaly.xMin + anomaly.xMax) / 2.0;
        anomaly.y = (anomaly.yMin + anomaly.yMax) / 2.0;
        osg::Vec3d lonLat;
        srs->transform(osg::Vec3d(anomaly.x, anomaly.y, 0.0), srs->getGeographicSRS(), lonLat);
        anomaly.lonDegrees = lonLat.x();
        anomaly.latDegrees = lonLat.y();
        anomaly.areaSquareMetres = 0.1 + index % 977;
        anomaly.dzMeanMetres = anomaly.dzMaxMetres = 1.0;
        anomaly.outlineWkt = QString("POLYGON ((%1 %2, %3 %2, %3 %4, %1 %4, %1 %2))")
                                 .arg(anomaly.xMin, 0, 'f', 3)
                                 .arg(anomaly.yMin, 0, 'f', 3)
                                 .arg(anomaly.xMax, 0, 'f', 3)
                                 .arg(anomaly.yMax, 0, 'f', 3)
                                 .toStdString();
        anomalies.push_back(std::move(anomaly));
    }
    return anomalies;
}

bool prepare(const SmallProject& files, int count) {
    const auto opened = Project::open(files.folder());
    if (!opened) {
        return false;
    }
    const auto& description = opened->description();
    const auto database = PipelineDatabase::open(description, Project::Access::Exclusive);
    ComputationRequest request;
    request.project = description;
    if (!computeAnomalies(request)) {
        return false;
    }
    mysqlhelper::KV_MySQL& sql = *(*database)->GetMySQL();
    mysqlhelper::KV_MySQL::Transaction transaction(sql);
    auto anomalies = manyAnomalies(count);
    insertAnomalies(sql, 1, kSamplePair, anomalies);
    transaction.commit();
    return true;
}

/// The tool on the globe, with stopwatches.
class Bench {
public:
    explicit Bench(PluginHost& host) : m_host(host) {}

    osg::ref_ptr<ImageOverlay> overlay(const std::string& name) const {
        return overlayOnGlobe(*m_host.globe, QString::fromStdString(name));
    }
    QPoint placeOf(const std::string& name) const {
        return pixelOnGlobe(*m_host.globe, overlay(name)->getCenter());
    }
    unsigned frame() const { return m_host.globe->getViewer()->getFrameStamp()->getFrameNumber(); }
    void send(osgGA::GUIEventAdapter::EventType type, const QPoint& place, int button, int key = 0) {
        const osg::ref_ptr<osgGA::GUIEventAdapter> event = new osgGA::GUIEventAdapter;
        event->setEventType(type);
        event->setX(static_cast<float>(place.x()));
        event->setY(static_cast<float>(m_host.globe->height() - 1 - place.y()));
        event->setButton(button);
        event->setKey(key);
        m_host.handler(kTool).handle(*event,
                                     *dynamic_cast<osgGA::GUIActionAdapter*>(m_host.globe->getViewer()));
    }

    /// Frames from a pointer move until a press would take the anomaly: the press is sent after each frame.
    double moveToCandidate(const std::string& name) {
        const auto node = overlay(name);
        const QPoint place = placeOf(name);
        movePointer(*m_host.globe, place);
        const unsigned start = frame();
        while (!isHighlighted(*node)) {
            const unsigned before = frame();
            m_host.globe->requestRedraw();
            if (!QTest::qWaitFor([&] { return frame() > before; }) || frame() - start > 20) {
                return 99.0;
            }
            send(osgGA::GUIEventAdapter::PUSH, place, osgGA::GUIEventAdapter::LEFT_MOUSE_BUTTON);
            send(osgGA::GUIEventAdapter::RELEASE, place, osgGA::GUIEventAdapter::LEFT_MOUSE_BUTTON);
        }
        return frame() - start;
    }
    /// Frames from a press until the anomaly is highlighted.
    double pressToHighlight(const std::string& name) {
        const auto node = overlay(name);
        const QPoint place = placeOf(name);
        movePointer(*m_host.globe, place);
        m_host.settle();
        QTest::mousePress(m_host.globe, Qt::LeftButton, {}, place);
        const unsigned start = frame();
        const bool done = QTest::qWaitFor([&] { return isHighlighted(*node); });
        const double frames = frame() - start;
        QTest::mouseRelease(m_host.globe, Qt::LeftButton, {}, place);
        m_host.settle();
        return done ? frames : 99.0;
    }
    /// The tool's own time for a press on the ground, with the label of its elevation difference.
    double pressMilliseconds(const QPoint& place) {
        std::vector<double> times;
        for (int round = 0; round < kRounds; ++round) {
            QElapsedTimer timer;
            timer.start();
            send(osgGA::GUIEventAdapter::PUSH, place, osgGA::GUIEventAdapter::LEFT_MOUSE_BUTTON);
            times.push_back(static_cast<double>(timer.nsecsElapsed()) / 1e6);
            send(osgGA::GUIEventAdapter::RELEASE, place, osgGA::GUIEventAdapter::LEFT_MOUSE_BUTTON);
        }
        return median(times);
    }
    double frameMilliseconds() {
        std::vector<double> times;
        for (int round = 0; round < kRounds; ++round) {
            QElapsedTimer timer;
            timer.start();
            m_host.globe->grabFramebuffer();
            times.push_back(static_cast<double>(timer.nsecsElapsed()) / 1e6);
        }
        return median(times);
    }
    /// The tool's own time for each drag event of a rectangle that neither takes in nor lets go of anything.
    std::pair<double, double> dragEvent(const QPoint& from, const QPoint& to) {
        send(osgGA::GUIEventAdapter::KEYDOWN, from, 0, osgGA::GUIEventAdapter::KEY_Shift_L);
        send(osgGA::GUIEventAdapter::MOVE, from, 0);
        send(osgGA::GUIEventAdapter::PUSH, from, osgGA::GUIEventAdapter::LEFT_MOUSE_BUTTON);
        const auto drag = [&](const QPoint& place) {
            QElapsedTimer timer;
            timer.start();
            send(osgGA::GUIEventAdapter::DRAG, place, 0);
            return static_cast<double>(timer.nsecsElapsed()) / 1e6;
        };
        const double takingAll = drag(to);
        std::vector<double> times;
        for (int round = 0; round < kRounds; ++round) {
            times.push_back(drag(to + QPoint(round % 2, 0)));
        }
        send(osgGA::GUIEventAdapter::RELEASE, to, osgGA::GUIEventAdapter::LEFT_MOUSE_BUTTON);
        send(osgGA::GUIEventAdapter::KEYUP, to, 0, osgGA::GUIEventAdapter::KEY_Shift_L);
        m_host.deliver();
        return {takingAll, median(times)};
    }

private:
    PluginHost& m_host;
};

double fillTable() {
    IORVAContext* context = IORVAContext::Instance();
    KV_StationItem* station = context->GetStationWindow()->GetSelectedStationItem().front();
    std::vector<double> times;
    for (int round = 0; round < kRounds; ++round) {
        QElapsedTimer timer;
        timer.start();
        context->GetAVWindow()->Refresh();
        context->GetAVWindow()->SetCurrentItem(*station);
        context->GetAVWindow()->AddData();
        context->GetAVWindow()->repaint();
        times.push_back(static_cast<double>(timer.nsecsElapsed()) / 1e6);
    }
    return median(times);
}

/// From the double click's call to the shown picture, of another anomaly each time.
double showPicture() {
    IORVAContext* context = IORVAContext::Instance();
    KV_StationItem* station = context->GetStationWindow()->GetSelectedStationItem().front();
    auto* images = dynamic_cast<ImageWindow*>(context->GetKVImageWindow());
    images->resize(430, 800);
    images->show();
    std::vector<double> times;
    for (int round = 0; round < kRounds; ++round) {
        QElapsedTimer timer;
        timer.start();
        images->CreatZoomItem(station, station->m_diffData.m_anomalies[static_cast<std::size_t>(round) * 61]);
        while (images->isReading()) {
            QCoreApplication::processEvents();
        }
        images->repaint();
        times.push_back(static_cast<double>(timer.nsecsElapsed()) / 1e6);
    }
    return median(times);
}

/// The place is in the last of them, so that all are looked at.
double pressOverStations(PluginHost& host, Bench& bench, int count) {
    const SmallProject files;
    if (!computeInStrips(files, count) || InspectionContext::instance().openProject(files.folder())) {
        return std::nan("");
    }
    auto* tree = IORVAContext::Instance()->GetStationWindow()->findChild<QTreeWidget*>();
    for (int index = 0; index < count; ++index) {
        tree->topLevelItem(0)->child(index)->setCheckState(0, Qt::Checked);
    }
    const auto* srs = osgEarth::SpatialReference::get("EPSG:4547");
    osg::Vec3d lonLat;
    srs->transform(osg::Vec3d(middleOfLastStrip(count), SmallProject::kTop - 40.0, 0.0),
                   srs->getGeographicSRS(), lonLat);
    host.globe->getManipulator()->setViewpoint(
        osgEarth::Viewpoint("", lonLat.x(), lonLat.y(), 50.0, 0.0, -89.9, 250.0));
    host.settle();
    const double milliseconds = bench.pressMilliseconds(host.globe->rect().center());
    InspectionContext::instance().closeProject();
    return milliseconds;
}

int run(int count) {
    const SmallProject files;
    PluginHost host;
    host.window.resize(1024, 768);
    if (!prepare(files, count) || InspectionContext::instance().openProject(files.folder())) {
        std::fprintf(stderr, "no project\n");
        return 1;
    }
    if (host.globe->map().addElevation("ground", files.file("new/dsm.tif").toStdString())) {
        return 1;
    }
    auto* tree = IORVAContext::Instance()->GetStationWindow()->findChild<QTreeWidget*>();
    tree->topLevelItem(0)->child(0)->setCheckState(0, Qt::Checked);
    Bench bench(host);
    const std::string last = "M-" + std::to_string(100000 + count - 1);
    const std::string some[] = {"M-100003", "M-100500", "M-101234", last};
    const osg::Vec2d middle = bench.overlay("M-100500")->getCenter();
    host.globe->getManipulator()->setViewpoint(
        osgEarth::Viewpoint("", middle.x(), middle.y(), 50.0, 0.0, -89.9, 250.0));
    if (!QTest::qWaitFor([&] { return bench.overlay(last)->getImage() != nullptr; }, 120000)) {
        return 1;
    }
    host.settle();
    host.click(kTool);
    host.settle();

    std::printf("%d anomalies, a frame of the globe takes %.0f ms\n", count, bench.frameMilliseconds());
    std::vector<double> candidate;
    std::vector<double> highlight;
    for (const std::string& name : some) {
        candidate.push_back(bench.moveToCandidate(name));
        highlight.push_back(bench.pressToHighlight(some[0] == name ? some[1] : some[0]));
    }
    report("pointer move to highlight candidate", median(candidate), 2.0, "frames");
    report("press to highlight", median(highlight), 1.0, "frames");
    const QRect globe = host.globe->rect();
    const auto [takingAll, standing] =
        bench.dragEvent(globe.topLeft() + QPoint(60, 60), globe.bottomRight() - QPoint(60, 60));
    report("rectangle, each drag event", standing, 2.0, "ms");
    std::printf("%-52s %8.2f ms\n", "rectangle, the event that takes all in", takingAll);
    report("filling the table", fillTable(), 100.0, "ms");
    report("double click to picture in the image window", showPicture(), 150.0, "ms");
    report("press over ten stations", pressOverStations(host, bench, 10), 50.0, "ms");
    return 0;
}

} // namespace

int main(int argc, char** argv) {
    GlobeWidget::installSurfaceFormat();
    QApplication application(argc, argv);
    QDir::setCurrent(QCoreApplication::applicationDirPath());
    return run(argc > 1 ? std::atoi(argv[1]) : 10000);
}
