#pragma once

#include "tests/plugin/special/SpecialFixture.h"

#include "host/Gbk.h"
#include "host/inspection/DataSet.h"
#include "host/inspection/StationWindow.h"

/// The editing tool over a project with three special objects, none of which touches another: the special
/// area "面", the high-consequence area "高" and the special point "点".
class RegionTest : public SpecialTest {
protected:
    RegionTest();

    // Places on them, in pixels of the globe.
    QPoint onArea() const { return ground(45, 40); }
    QPoint onPolygon() const { return ground(155, 40); }
    QPoint onPoint() const { return ground(100, 20) - QPoint(0, 12); } ///< the marker stands on its place
    QPoint onNothing() const { return ground(100, 70); }

    static StationWindow& stationWindow() { return *IORVAContext::Instance()->GetStationWindow(); }
    static const OsgDataSet& scene();
    /// The group of that name on the globe or in the scene data set; null when there is none.
    static osg::Group* groupOf(const char* name);
    static osgEarth::Annotation::FeatureNode* featureOf(const char* name);
    static std::string labelOf(osg::Group& group);
    bool isOnGlobe(const osg::Group* group) const;

    static Special_Polygon region(const char* name, int type, double east, double north);
    static Special_Point point(const char* name, double east, double north);

    /// Right-clicks there and chooses an entry.
    void choose(const QPoint& place, const char* entry);
    /// The menus that a right click there opens; each is closed at once.
    std::size_t menusAt(const QPoint& place);
    void confirmPoint();
    QList<QWidget*> openDialogs(const char* objectName) const;
};
