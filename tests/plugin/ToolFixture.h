#pragma once

#include "tests/plugin/PluginHost.h"
#include "tests/support/ForeignConnection.h"
#include "tests/support/SmallProject.h"

#include <osg/Vec2d>

#include <QMenu>
#include <QPointer>
#include <QStringList>
#include <QTemporaryDir>
#include <QTimer>
#include <QTreeWidget>
#include <QVariant>

#include <string>
#include <vector>

/// For readable failures.
void PrintTo(const QStringList& texts, std::ostream* stream);

/// Longitude and latitude, degrees, of a place in the small project's reference system.
osg::Vec2d toLonLat(double xMetres, double yMetres);

/// A tool of the plug-in over the small project, seen from straight above, driven by pointer and keys.
class ToolTest : public PluginTest {
protected:
    /// Makes the globe small and lays the small project's ground on it, once for the whole program.
    static void SetUpTestSuite();
    /// The project that the tests of a program copy. Before SetUpTestSuite it does not exist.
    static SmallProject& original();

    /// Opens a copy of `original()`; `tool` is the name of the tool under test.
    explicit ToolTest(const char* tool);
    ~ToolTest() override;

    // Places, in pixels of the globe widget.
    /// Of longitude and latitude, degrees, on the terrain that is loaded.
    QPoint pixelOf(const osg::Vec2d& lonLat) const;
    /// Of the project's reference system, metres.
    QPoint pixelAt(double x, double y) const;

    // The pointer and the keys.
    void moveTo(const QPoint& place);
    /// Waits for that many frames, and for more until all events are handled and all messages delivered.
    void draw(unsigned frames = 1);
    /// Moves there, presses and releases.
    void leftClick(const QPoint& place);
    void rightClick(const QPoint& place);
    /// A right click there opens one menu, where the cursor of the display is.
    void expectMenuAtCursor(const QPoint& place);
    void press(const QPoint& place);
    void release(const QPoint& place);
    void doubleClick(const QPoint& place);
    void keyDown(Qt::Key key);
    void keyUp(Qt::Key key);
    void keyClick(Qt::Key key);
    void ctrlClick(const QPoint& place);
    /// Sends one event to the tool, at a window position with y upwards.
    bool send(osgGA::GUIEventAdapter::EventType type, float x, float y, int button = 0, int key = 0);

    QTreeWidget& tree() const;
    /// First column of what an SQL query finds in the project's database, read by a connection of its own.
    QVariantList readStored(const QString& sql, const QVariantList& bound = {}) const;

private:
    QTemporaryDir m_parent;

protected:
    const char* const m_tool; ///< UTF-8
    const QString m_folder;
};

/// While it lives, answers each message box and keeps its title and text.
class BoxAnswerer {
public:
    enum Answer { Yes, No, YesThenNo };
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
