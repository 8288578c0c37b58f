#pragma once

#include "host/inspection/Station.h"
#include "tests/plugin/PluginHost.h"
#include "tests/support/SmallProject.h"

#include <osg/Vec2d>
#include <osgEarthAnnotation/FeatureNode>
#include <osgEarthAnnotation/ImageOverlay>
#include <osgEarthAnnotation/PlaceNode>

#include <QColor>
#include <QMenu>
#include <QPointer>
#include <QStringList>
#include <QTableView>
#include <QTemporaryDir>
#include <QTimer>

#include <string>
#include <vector>

/// Anomalies that the fixture adds to the computed ones of the small project. Names as they are stored.
namespace known {
inline const QString fill = "S1-0001"; ///< computed, +3.0 m
inline const QString cut = "S2-0001";  ///< computed, -2.0 m, in the second station
inline const QString left = "left";    ///< overlaps with `right`
inline const QString right = "right";
inline const QString quoted = "O'Brien \"x\"; drop table anomaly;--";
const QString& longName();                    ///< 1,000 characters
inline const QString overlapping = "S3-0001"; ///< in the third station, which overlaps the first
inline const QString below = "S1-below";      ///< in the first station, over `overlapping`
} // namespace known

/// For readable failures.
void PrintTo(const QStringList& texts, std::ostream* stream);
void PrintTo(const QColor& colour, std::ostream* stream);

/// The anomaly tool on a small computed project, seen from straight above: a fill and a cut that were found,
/// and some more anomalies at known places. Each test has a copy of its own.
class AnomalyTest : public PluginTest {
protected:
    static void SetUpTestSuite();

    AnomalyTest();
    ~AnomalyTest() override;

    /// Clicks the tool's button and waits until its picker is there.
    void startTool();
    void stopTool();
    /// By the parameter dialog's stored parameter.
    void pickByBounds(bool byBounds);

    // Places, in pixels of the globe widget.
    /// Of longitude and latitude, degrees, on the terrain that is loaded.
    QPoint pixelOf(const osg::Vec2d& lonLat) const;
    /// Of the project's reference system, metres.
    QPoint pixelAt(double x, double y) const;
    QPoint pixelOf(const QString& anomaly) const;
    /// A place of the first station without anomaly.
    QPoint emptyGround() const { return pixelAt(SmallProject::kLeft + 36.0, SmallProject::kTop - 66.0); }
    /// A place outside all stations.
    QPoint outside() const { return pixelAt(SmallProject::kLeft + 100.0, SmallProject::kTop + 25.0); }

    // The pointer and the keys.
    void moveTo(const QPoint& place);
    /// Waits for that many frames, and for more until all events are handled and all messages delivered.
    void draw(unsigned frames = 1);
    /// Moves there, presses and releases.
    void leftClick(const QPoint& place);
    void rightClick(const QPoint& place);
    void press(const QPoint& place);
    void release(const QPoint& place);
    void doubleClick(const QPoint& place);
    void keyDown(Qt::Key key);
    void keyUp(Qt::Key key);
    void keyClick(Qt::Key key);
    void ctrlClick(const QPoint& place);
    /// Sends one event to the tool, at a window position with y upwards.
    bool send(osgGA::GUIEventAdapter::EventType type, float x, float y, int button = 0, int key = 0);

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

private:
    QTemporaryDir m_parent;

protected:
    const QString m_folder;

private:
    static SmallProject* s_project;
};

/// While it lives, answers each message box and keeps its title and text.
class BoxAnswerer {
public:
    enum Answer { Yes, No };
    explicit BoxAnswerer(Answer answer);
    QStringList titles;
    QStringList texts;

private:
    void look(Answer answer);
    QTimer m_poll;
};

/// While it lives, goes through the context menus that open: clicks the entries of `path` one after the
/// other, and closes with Esc what has none of them. Keeps the entries of each menu that it looked at.
class MenuChooser {
public:
    explicit MenuChooser(const QStringList& path = {});
    std::vector<QStringList> menus;

private:
    void look();
    QStringList m_path;
    QPointer<QMenu> m_opening; ///< a submenu that was clicked and is not there yet
    QTimer m_poll;
};
