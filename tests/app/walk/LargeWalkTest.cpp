#include "tests/app/walk/Walk.h"
#include "workbench/inspectiondata/creation/CreateProject.h"
#include "workbench/viewer/GlobeWidget.h"

#include <gdal_priv.h>

#include <QApplication>
#include <QComboBox>
#include <QTemporaryDir>
#include <QTest>

namespace {

constexpr int kCells = 1600;
constexpr int kSpacing = 44; ///< cells from one change to the next
constexpr double kCellMetres = 0.5;
constexpr double kLeft = 500000.0;
constexpr double kTop = 3400800.0;

/// Every change is a square of twelve cells, raised or lowered in turn.
double changeAt(int column, int row) {
    const int x = column % kSpacing - 16;
    const int y = row % kSpacing - 16;
    const bool inside = x >= 0 && x < 12 && y >= 0 && y < 12;
    const bool isFill = (column / kSpacing + row / kSpacing) % 2 == 0;
    return inside ? (isFill ? 2.0 : -1.5) : 0.0;
}

void writeSurface(const QString& file, bool changed) {
    GDALAllRegister();
    GDALDriver* driver = GetGDALDriverManager()->GetDriverByName("GTiff");
    const GDALDatasetUniquePtr raster(
        driver->Create(file.toUtf8().constData(), kCells, kCells, 1, GDT_Float32, nullptr));
    double transform[6] = {kLeft, kCellMetres, 0.0, kTop, 0.0, -kCellMetres};
    raster->SetGeoTransform(transform);
    OGRSpatialReference reference;
    reference.importFromEPSG(4547);
    raster->SetSpatialRef(&reference);
    std::vector<float> line(kCells);
    for (int row = 0; row < kCells; ++row) {
        for (int column = 0; column < kCells; ++column) {
            line[static_cast<std::size_t>(column)] =
                static_cast<float>(60.0 + column * 0.01 + (changed ? changeAt(column, row) : 0.0));
        }
        ASSERT_EQ(raster->GetRasterBand(1)->RasterIO(GF_Write, 0, row, kCells, 1, line.data(), kCells, 1,
                                                     GDT_Float32, 0, 0, nullptr),
                  CE_None);
    }
}

/// More than a thousand anomalies, computed from two surface models.
class LargeWalk : public WalkTest {
protected:
    void SetUp() override {
        writeSurface(m_parent.filePath("old.tif"), false);
        writeSurface(m_parent.filePath("new.tif"), true);
        auto made = inspection::openOrCreateProject(
            m_parent.filePath("project"),
            {m_parent.filePath("old.tif"), m_parent.filePath("new.tif"), {}, {}});
        ASSERT_TRUE(made);
    }
    QTemporaryDir m_parent;
};

TEST_F(LargeWalk, TwentyOfAThousandAnomaliesByKeyboardAloneAndEverythingIsAsLeftAfterReopening) {
    open(m_parent.filePath("project"));
    tickAllStations();
    computeAnomalies();
    QMap<QString, QString> expected = stored();
    ASSERT_GE(expected.size(), 1000);

    // From here on keys only. F6 goes from window to window: tree, globe, table, pictures.
    window().activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(&window()));
    window().findChild<QTreeWidget*>("stationTree")->setFocus();
    key(Qt::Key_Home);
    key(Qt::Key_Down);
    key(Qt::Key_F6);
    key(Qt::Key_F6);
    ASSERT_EQ(QApplication::focusWidget(), &table());
    for (int step = 0; step < 5; ++step) { // over the other filters
        key(Qt::Key_Backtab, Qt::ShiftModifier);
    }
    auto* filter = window().findChild<QComboBox*>("attributeFilter");
    ASSERT_EQ(QApplication::focusWidget(), filter);
    key(Qt::Key_Down); // what is not judged yet
    for (int step = 0; step < 5; ++step) {
        key(Qt::Key_Tab);
    }
    ASSERT_EQ(QApplication::focusWidget(), &table());

    const QString first = rows().at(0);
    key(Qt::Key_Home);
    ASSERT_EQ(currentRow(), first);
    for (int step = 0; step < 20; ++step) {
        const QString anomaly = currentRow();
        ASSERT_EQ(selectedRows(), QStringList{anomaly});
        ASSERT_TRUE(waitUntil([&] { return isHighlighted(anomaly); })) << anomaly.toStdString();
        if (step % 5 == 0) { // a look at the place
            key(Qt::Key_Return);
            waitForGlobe();
            waitForPictures();
            EXPECT_TRUE(window().globe().rect().contains(placeOf(anomaly)));
            if (step == 5) {
                keepPicture("keyboard");
            }
        }
        if (step % 7 == 6) {
            answerNextBox(true);
            key(Qt::Key_Delete);
            expected.remove(anomaly);
        } else {
            key(Qt::Key_1 + step % 4);
            expected[anomaly] = QStringList{"建构筑物", "重物占压", "深挖", "塌陷"}[step % 4];
        }
        ASSERT_NE(currentRow(), anomaly) << "what is judged leaves the list of what is not";
    }
    // Own words, typed into the cell.
    const QString last = currentRow();
    key(Qt::Key_F2);
    auto* editor = window().findChild<QComboBox*>("attributeEditor");
    ASSERT_NE(editor, nullptr);
    QTest::keyClicks(QApplication::focusWidget(), "checked on foot");
    key(Qt::Key_Return);
    expected[last] = "checked on foot";
    EXPECT_EQ(stored(), expected);

    close();
    open(m_parent.filePath("project"));
    EXPECT_EQ(stored(), expected);
    clickStation(0);
    for (const QString& anomaly : rows()) {
        const QModelIndex index = table().model()->index(static_cast<int>(rows().indexOf(anomaly)), 6);
        EXPECT_EQ(index.data().toString(), expected.value(anomaly)) << anomaly.toStdString();
    }
}

} // namespace
