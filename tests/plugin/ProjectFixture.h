#pragma once

#include "tests/plugin/PluginHost.h"

#include "host/inspection/DataSet.h"

#include <QTemporaryDir>

/// Null while there is none.
QWidget* visibleWindow(const char* objectName);

/// The tools on a small sample corridor, seen from straight above. All its tests share one copy of it.
class OnAProject : public PluginTest {
protected:
    static void SetUpTestSuite();
    static void TearDownTestSuite();

    OnAProject();
    ~OnAProject() override;

    static PipelineDataSet& database();
    static void checkAllStations();
    /// Computes them, once for all tests.
    static void computeAllStations();
    static void flyToFirstStation() { flyToStation(0); }
    static void flyToLastStation() { flyToStation(stationCount() - 1); }
    static std::size_t stationCount();

    /// A real click on the globe, `dx`, `dy` widget pixels from its centre.
    void clickOnGlobe(int dx, int dy, Qt::MouseButton button = Qt::LeftButton);
    /// The point group that came last, null while there is none.
    osg::Group* pointGroup();
    /// Draws an area of 120 by 80 pixels around a place, counted from the globe's centre, and names it.
    void addArea(const QString& name, const QPoint& middle);

private:
    static void flyToStation(std::size_t index);

    static QTemporaryDir* s_folder;
    static bool s_isComputed;
};
