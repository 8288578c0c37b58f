#include "tests/inspection/windows/ImageWindowFixture.h"
#include "tests/support/Pointer.h"

#include "host/inspection/KVImageWindow.h"
#include "host/inspection/StationWindow.h"
#include "workbench/inspection/images/ComparisonPictures.h"
#include "workbench/inspectiondata/database/ElevationDifference.h"
#include "workbench/inspectiondata/pictures/ElevationLine.h"
#include "workbench/inspectiondata/pictures/OutlinePath.h"
#include "workbench/inspectiondata/pictures/PipelinePath.h"
#include "workbench/inspectiondata/project/Project.h"
#include "workbench/inspectiondata/text/AnomalyTexts.h"

#include <osgEarthUtil/EarthManipulator>

#include <QApplication>
#include <QFile>
#include <QLabel>
#include <QTest>
#include <QWheelEvent>

#include <gdal_priv.h>
#include <gdal_utils.h>

#include <cmath>
#include <limits>

namespace {

TEST_F(ImageWindowTest, ShowsBothEpochsTheDifferencesAndTheProfile) {
    openRichest();
    EXPECT_LT(colours(pane("oldPane")), 100);
    images().CreatZoomItem(m_item, anomaly());
    ASSERT_TRUE(shown());
    EXPECT_GT(colours(pane("oldPane")), 200);
    EXPECT_GT(colours(pane("newPane")), 200);
    EXPECT_GT(colours(pane("differencePane")), 200);
    EXPECT_NE(pane("oldPane").grab().toImage(), pane("newPane").grab().toImage());
    EXPECT_TRUE(m_window->findChild<QLabel*>("imageCaption")->text().contains("面积"));
    keepPicture(images(), "image-window");
}

TEST_F(ImageWindowTest, TellsTheVolumesUncertaintyAndDrawsTheBandOfNoChange) {
    openRichest();
    SdiffData certain = anomaly();
    certain.volumeSigmaCubicMetres = certain.volumeCubicMetres() / 20.0;
    certain.levelOfDetectionMetres = 0.5;
    images().CreatZoomItem(m_item, certain);
    ASSERT_TRUE(shown());
    const QString caption = m_window->findChild<QLabel*>("imageCaption")->text();
    EXPECT_TRUE(caption.contains("体积 " + inspection::volumeText(certain) + " m³")) << caption.toStdString();
    EXPECT_TRUE(caption.contains(" ± "));
    const QImage band = pictureOf(pane("profileChart"));
    keepPicture(images(), "image-window-uncertainty");

    SdiffData old = certain;
    old.volumeSigmaCubicMetres.reset();
    old.levelOfDetectionMetres.reset();
    images().CreatZoomItem(m_item, old);
    ASSERT_TRUE(shown());
    EXPECT_FALSE(m_window->findChild<QLabel*>("imageCaption")->text().contains("±"));
    EXPECT_NE(pictureOf(pane("profileChart")), band);
}

TEST_F(ImageWindowTest, TheProfileOfABentEpochShowsWhatDetectionCompared) {
    openRichest();
    ASSERT_TRUE(m_item->readdiffvz());
    const inspection::ProjectDescription& project = context().project()->description();
    inspection::ComparisonSource source;
    source.srs = QString::fromStdString(m_item->m_station.m_srs);
    source.oldEpoch = project.oldEpoch();
    source.newEpoch = project.newEpoch();
    source.dzRaster = QString::fromStdString(m_item->m_diffData.m_elevationDifference->file());
    source.shift.dz = 500.0; // as nothing else would tell the two ways apart
    source.isBent = true;
    const inspection::ElevationProfile profile = inspection::readProfile(source, firstLine());
    std::size_t compared = 0;
    for (std::size_t step = 0; step < profile.oldMetres.size(); ++step) {
        const QPointF at = firstLine().pointAt(double(step) / double(profile.oldMetres.size() - 1));
        double dz = 0.0;
        if (m_item->m_diffData.GetdZ(at.x(), at.y(), dz)) {
            EXPECT_NEAR(profile.newMetres[step] - profile.oldMetres[step], dz, 1e-6);
            ++compared;
        }
    }
    EXPECT_GT(compared, profile.oldMetres.size() / 2);
}

TEST_F(ImageWindowTest, PanesPanAndZoomTogether) {
    openRichest();
    images().CreatZoomItem(m_item, anomaly());
    ASSERT_TRUE(shown());
    const QPointF centre = view().centre();
    const double metresPerPixel = view().metresPerPixel();

    QTest::mousePress(&pane("oldPane"), Qt::LeftButton, {}, QPoint(60, 100));
    movePointer(pane("oldPane"), QPoint(90, 100), Qt::LeftButton);
    QTest::mouseRelease(&pane("oldPane"), Qt::LeftButton, {}, QPoint(90, 100));
    EXPECT_NEAR(view().centre().x(), centre.x() - 30.0 * metresPerPixel, 1e-6);
    const QImage moved = pane("newPane").grab().toImage();

    const QPoint at(50, 50);
    QWheelEvent wheel(at, pane("newPane").mapToGlobal(at), {}, QPoint(0, 120), Qt::NoButton, Qt::NoModifier,
                      Qt::NoScrollPhase, false);
    QApplication::sendEvent(&pane("newPane"), &wheel);
    EXPECT_LT(view().metresPerPixel(), metresPerPixel);
    EXPECT_NE(pane("newPane").grab().toImage(), moved);
    ASSERT_TRUE(shown());

    QTest::mouseDClick(&pane("newPane"), Qt::LeftButton, {}, at);
    EXPECT_NEAR(view().centre().x(), centre.x(), 1e-6);
    EXPECT_NEAR(view().metresPerPixel(), metresPerPixel, 1e-9);
}

TEST_F(ImageWindowTest, ARecordWithoutExtentShowsTheWholeStation) {
    openRichest();
    images().CreatZoomItem(m_item, SdiffData());
    ASSERT_TRUE(shown());
    const KV_Station& place = m_item->m_station;
    EXPECT_NEAR(view().centre().x(), (place.m_xMin + place.m_xMax) / 2.0, 1e-6);
    EXPECT_GE(view().metresPerPixel() * pane("oldPane").width(), place.m_xMax - place.m_xMin);
    EXPECT_GT(colours(pane("oldPane")), 200);
    keepPicture(images(), "image-window-station");
}

TEST_F(ImageWindowTest, WithoutOrthophotosItShowsHillShade) {
    openRichest();
    const auto& project = context().project()->description();
    ASSERT_TRUE(QFile::remove(project.oldEpoch().dom));
    QFile broken(project.newEpoch().dom);
    ASSERT_TRUE(broken.open(QIODevice::WriteOnly | QIODevice::Truncate));
    broken.write("no picture");
    broken.close();
    images().CreatZoomItem(m_item, anomaly());
    ASSERT_TRUE(shown());
    for (const char* name : {"oldPane", "newPane"}) {
        const QImage picture = pictureOf(pane(name));
        const QColor at = picture.pixelColor(picture.width() - 20, picture.height() - 20);
        EXPECT_LT(std::max({at.red(), at.green(), at.blue()}) - std::min({at.red(), at.green(), at.blue()}),
                  12)
            << "grey";
        EXPECT_GT(colours(pane(name)), 100);
    }
    keepPicture(images(), "image-window-relief");
}

TEST_F(ImageWindowTest, TheCentreLineRunsThroughThePicturesWhereItLies) {
    showAnomaly();
    const inspection::ProjectDescription& project = context().project()->description();
    const inspection::Pipeline line = inspection::Pipeline::read(project);
    const QString srs = QString::fromStdString(m_item->m_station.m_srs);
    const QPointF middle((anomaly().xMin + anomaly().xMax) / 2.0, (anomaly().yMin + anomaly().yMax) / 2.0);
    const QPainterPath path =
        inspection::pipelinePath(line, srs, QRectF(middle, QSizeF()).adjusted(-500.0, -500.0, 500.0, 500.0));
    ASSERT_FALSE(path.isEmpty());
    const QPointF onLine = path.pointAtPercent(0.37);
    view().moveBy(onLine - view().centre());
    for (const char* name : {"oldPane", "newPane", "differencePane"}) {
        const QColor colour = pictureOf(pane(name)).pixelColor(pixelOf(pane(name), onLine));
        EXPECT_GT(colour.red(), colour.blue() + 120) << name << ' ' << colour.name().toStdString();
    }
}

TEST_F(ImageWindowTest, AMalformedOutlineIsLeftOut) {
    openRichest();
    images().CreatZoomItem(m_item, anomaly());
    ASSERT_TRUE(shown());
    const QImage outlined = pictureOf(pane("oldPane"));
    for (const char* wkt : {"", "POLYGON ((", "nonsense", "POINT (1 2)", "POLYGON EMPTY",
                            "POLYGON ((nan nan, nan nan, nan nan, nan nan))",
                            "POLYGON ((1e308 1e308, -1e308 1e308, -1e308 -1e308, 1e308 1e308))"}) {
        EXPECT_TRUE(inspection::outlinePath(wkt).isEmpty()) << wkt;
        SdiffData record = anomaly();
        record.outlineWkt = wkt;
        images().CreatZoomItem(m_item, record);
        ASSERT_TRUE(shown()) << wkt;
        EXPECT_GT(colours(pane("oldPane")), 200) << wkt;
        EXPECT_NE(pictureOf(pane("oldPane")), outlined) << wkt;
    }
}

TEST_F(ImageWindowTest, NoNameBlowsUpTheWindowOrIsTakenForMarkUp) {
    openRichest();
    const int width = m_window->width();
    const int paneHeight = pane("oldPane").height();
    auto* caption = m_window->findChild<QLabel*>("imageCaption");
    SdiffData record = anomaly();
    record.name = R"(<h1>"quoted"</h1><img src='x'>&amp;)" + std::string(1000, 'x');
    images().CreatZoomItem(m_item, record);
    ASSERT_TRUE(shown());
    EXPECT_EQ(m_window->width(), width);
    EXPECT_NEAR(pane("oldPane").height(), paneHeight, 40);
    EXPECT_EQ(caption->textFormat(), Qt::PlainText);
    EXPECT_TRUE(caption->text().contains(QString::fromStdString(record.name)));
    EXPECT_TRUE(caption->toolTip().contains("&lt;h1&gt;&quot;quoted&quot;&lt;/h1&gt;"));
    EXPECT_FALSE(caption->toolTip().contains("<img"));
    // The figures have a line of their own below the name.
    const QImage lines = caption->grab().toImage();
    const auto isInked = [&](int x, int fromY, int toY) {
        for (int y = fromY; y < toY; ++y) {
            if (qGray(lines.pixel(x, y)) < 140) {
                return true;
            }
        }
        return false;
    };
    int inkedColumns = 0;
    for (int x = 0; x < lines.width(); ++x) {
        inkedColumns += isInked(x, lines.height() / 2, lines.height()) ? 1 : 0;
    }
    EXPECT_GT(inkedColumns, 50) << "the figures are still there";
    keepPicture(images(), "image-window-long-name");
}

TEST_F(ImageWindowTest, ARecordOfNoPlaceSaysSo) {
    openRichest();
    KV_StationItem nowhere(*m_item);
    nowhere.m_station.m_xMax = nowhere.m_station.m_xMin;
    SdiffData record = anomaly();
    record.xMax = std::numeric_limits<double>::infinity();
    images().CreatZoomItem(&nowhere, record);
    ASSERT_TRUE(shown());
    EXPECT_LT(colours(pane("oldPane")), 100);
    keepPicture(images(), "image-window-nowhere");

    images().CreatZoomItem(m_item, anomaly());
    ASSERT_TRUE(shown());
    EXPECT_GT(colours(pane("oldPane")), 200) << "and the next one is shown as usual";
}

TEST_F(ImageWindowTest, AnEpochThatEndsBeforeTheAnomalyLeavesTheOtherOneShown) {
    openRichest();
    const auto& project = context().project()->description();
    for (const QString& file : {project.newEpoch().dom, project.newEpoch().dsm}) {
        const QString whole = file + ".whole.tif";
        ASSERT_TRUE(QFile::rename(file, whole));
        GDALDatasetUniquePtr source(GDALDataset::Open(whole.toUtf8().constData()));
        ASSERT_NE(source, nullptr);
        const char* const corner[] = {"-srcwin", "0", "0", "40", "40", nullptr};
        GDALTranslateOptions* options = GDALTranslateOptionsNew(const_cast<char**>(corner), nullptr);
        GDALClose(GDALTranslate(file.toUtf8().constData(), source.get(), options, nullptr));
        GDALTranslateOptionsFree(options);
    }
    images().CreatZoomItem(m_item, anomaly());
    ASSERT_TRUE(shown());
    EXPECT_GT(colours(pane("oldPane")), 200);
    const QImage empty = pictureOf(pane("newPane"));
    const QColor background = empty.pixelColor(empty.width() - 10, empty.height() - 10);
    for (int x = 10; x < empty.width(); x += 10) {
        EXPECT_EQ(empty.pixelColor(x, empty.height() - 10), background) << "no ground to be seen";
    }
    EXPECT_GT(colours(pane("newPane")), 10) << "but outline, line and why";
    EXPECT_GT(colours(pane("profileChart")), 5) << "the old epoch's profile";
    keepPicture(images(), "image-window-one-sided");
}

TEST_F(ImageWindowTest, TitlesSayWhyThereIsNoOrthophoto) {
    openRichest();
    inspection::ComparisonSource source;
    source.srs = QString::fromStdString(m_item->m_station.m_srs);
    source.oldEpoch = context().project()->description().oldEpoch();
    source.newEpoch = context().project()->description().newEpoch();
    const QRectF ground(anomaly().xMin, anomaly().yMin, 20.0, 20.0);
    const auto both = inspection::readComparison(source, ground, {64, 64});
    EXPECT_TRUE(both.oldEpoch.title.endsWith("正射影像")) << both.oldEpoch.title.toStdString();
    EXPECT_FALSE(both.difference.reason.isEmpty()) << "nothing computed";

    source.oldEpoch.dom = "/does/not/exist.tif";
    source.newEpoch.dom.clear();
    const auto neither = inspection::readComparison(source, ground, {64, 64});
    EXPECT_TRUE(neither.oldEpoch.title.endsWith("山体阴影（影像无法读取）"))
        << neither.oldEpoch.title.toStdString();
    EXPECT_TRUE(neither.newEpoch.title.endsWith("山体阴影")) << neither.newEpoch.title.toStdString();
    EXPECT_FALSE(neither.oldEpoch.image.isNull());

    const auto outside = inspection::readComparison(source, ground.translated(50000.0, 0.0), {64, 64});
    EXPECT_TRUE(outside.newEpoch.image.isNull());
    EXPECT_FALSE(outside.newEpoch.reason.isEmpty());
    EXPECT_FALSE(outside.newEpoch.title.contains("山体阴影"));
}

TEST_F(ImageWindowTest, ADoubleClickOnARowShowsTheAnomalyAndFliesThere) {
    openRichest();
    QTest::mouseClick(tree().viewport(), Qt::LeftButton, {}, tree().visualItemRect(station(0)).center());
    context().GetStationWindow()->SetcurrentdiffSelected(m_item);
    context().GetAVWindow();
    for (int i = 0; i < 4; ++i) {
        if (station(i)->data(0, Qt::UserRole).toUInt() == m_item->GetStationId()) {
            tree().setCurrentItem(nullptr);
            QTest::mouseClick(tree().viewport(), Qt::LeftButton, {},
                              tree().visualItemRect(station(i)).center());
        }
    }
    ASSERT_GT(table().model()->rowCount(), 0);
    const QPoint at = table().visualRect(table().model()->index(0, 0)).center();
    QTest::mouseClick(table().viewport(), Qt::LeftButton, {}, at);
    QTest::mouseDClick(table().viewport(), Qt::LeftButton, {}, at);
    const QString name = table().model()->index(0, 0).data().toString();
    EXPECT_TRUE(m_window->findChild<QLabel*>("imageCaption")->text().contains(name));
    ASSERT_TRUE(shown());
    EXPECT_TRUE(waitUntil([this] {
        const osgEarth::Viewpoint view = m_globe->getManipulator()->getViewpoint();
        return view.isValid() && view.getRange() < 1000.0;
    }));
    keepPicture(*m_window, "window-anomaly");
}

TEST_F(ImageWindowTest, ClosingTheProjectEmptiesIt) {
    openRichest();
    images().CreatZoomItem(m_item, anomaly());
    context().closeProject();
    ASSERT_TRUE(shown());
    EXPECT_LT(colours(pane("oldPane")), 100);
    images().CreatZoomItem(nullptr, SdiffData());
    EXPECT_LT(colours(pane("newPane")), 100);
}

TEST_F(ImageWindowTest, ElevationsAlongALineFollowTheRasterAndItsEdges) {
    openSample();
    const auto& project = context().project()->description();
    clickCheckBox(station(0));
    const KV_Station place = context().GetStationWindow()->GetSelectedStationItem().at(0)->m_station;
    const double y = (place.m_yMin + place.m_yMax) / 2.0;
    const QLineF inside((place.m_xMin + place.m_xMax) / 2.0, y, (place.m_xMin + place.m_xMax) / 2.0 + 10.0,
                        y);
    const auto elevations = inspection::sampleElevations(project.oldEpoch().dsm, project.crs, inside, 50);
    ASSERT_EQ(elevations.size(), 50U);
    for (const double metres : elevations) {
        EXPECT_TRUE(std::isfinite(metres));
    }
    const auto outside =
        inspection::sampleElevations(project.oldEpoch().dsm, project.crs, inside.translated(1e6, 0.0), 3);
    ASSERT_EQ(outside.size(), 3U);
    EXPECT_TRUE(std::isnan(outside[0]));
    EXPECT_TRUE(inspection::sampleElevations("/does/not/exist.tif", project.crs, inside, 3).empty());
    EXPECT_TRUE(inspection::sampleElevations(project.oldEpoch().dsm, "nonsense", inside, 3).empty());
}

} // namespace
