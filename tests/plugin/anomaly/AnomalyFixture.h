#pragma once

#include "host/inspection/Station.h"
#include "tests/plugin/ToolFixture.h"

#include <osgEarthAnnotation/FeatureNode>
#include <osgEarthAnnotation/ImageOverlay>
#include <osgEarthAnnotation/PlaceNode>

#include <QColor>
#include <QTableView>

/// Anomalies that the fixture adds to the computed ones of the small project. Names as they are stored.
namespace known {
// They are read as words: known::left.
// NOLINTBEGIN(readability-identifier-naming)
inline const QString fill = "S1-0001"; ///< computed, +3.0 m
inline const QString cut = "S2-0001";  ///< computed, -2.0 m, in the second station
inline const QString left = "left";    ///< overlaps with `right`
inline const QString right = "right";
inline const QString quoted = "O'Brien \"x\"; drop table anomaly;--";
const QString& longName();                    ///< 1,000 characters
inline const QString overlapping = "S3-0001"; ///< in the third station, which overlaps the first
inline const QString below = "S1-below";      ///< in the first station, over `overlapping`
// NOLINTEND(readability-identifier-naming)
} // namespace known

/// For readable failures.
void PrintTo(const QColor& colour, std::ostream* stream);

/// The anomaly tool on a small computed project, seen from straight above: a fill and a cut that were found,
/// and some more anomalies at known places. Each test has a copy of its own.
class AnomalyTest : public ToolTest {
protected:
    static void SetUpTestSuite();

    AnomalyTest();

    /// Clicks the tool's button and waits until its picker is there.
    void startTool();
    void stopTool();
    /// By the parameter dialog's stored parameter.
    void pickByBounds(bool byBounds);

    // Places, in pixels of the globe widget.
    using ToolTest::pixelOf;
    QPoint pixelOf(const QString& anomaly) const;
    /// A place of the first station without anomaly.
    QPoint emptyGround() const { return pixelAt(SmallProject::kLeft + 36.0, SmallProject::kTop - 66.0); }
    /// A place on the two anomalies of overlapping stations, `below` and `overlapping`.
    QPoint onOverlapping() const { return pixelAt(SmallProject::kLeft + 8.0, SmallProject::kTop - 54.0); }
    /// A place outside all stations.
    QPoint outside() const { return pixelAt(SmallProject::kLeft + 100.0, SmallProject::kTop + 25.0); }

    /// Sends one event to the tool, at a place of the globe widget.
    bool sendAt(osgGA::GUIEventAdapter::EventType type, const QPoint& place, int button = 0, int key = 0);
    /// Selects both anomalies of `onOverlapping` with a rectangle.
    void selectOverlapping();

    // What is there.
    osg::ref_ptr<osgEarth::Annotation::ImageOverlay> overlay(const QString& anomaly) const;
    bool isHighlighted(const QString& anomaly) const;
    /// Names of all highlighted overlays, sorted.
    QStringList highlighted() const;
    /// Colour on the globe in the middle of an anomaly.
    QColor colourOf(const QString& anomaly);
    /// The label with the elevation difference; null while there is none.
    osgEarth::Annotation::PlaceNode* valueLabel() const;
    int valueLabelCount() const;
    osgEarth::Annotation::FeatureNode* frameNode() const;
    QTableView& table() const;
    QStringList tableNames() const;
    /// Sorted names of the rows that are selected, once they have followed.
    QStringList selectedRows() const;
    /// Makes the table show that station; 0 is the first one.
    void showStation(int index) const;

    // What is stored, read by a connection of its own.
    /// One column of the anomaly of that name; invalid when there is none.
    QVariant stored(const QString& anomaly, const QString& column = "attribute") const;
    int storedCount() const;

    // What somebody else stores, by a connection of their own.
    void change(const QString& sql) const;
    /// Gives the whole ground this elevation difference, for a station that has been computed.
    void setDifference(int station, double metres);
    /// Takes away the elevation differences of a station that has been computed.
    void removeDifference(int station) const;
    /// Makes the third station, which overlaps the first, one that has been computed.
    void addThirdResult() const;

private:
    int m_rasters = 0;
};
