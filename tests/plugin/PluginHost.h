#pragma once

#include "host/engine/ITool.h"
#include "host/viewmanager/CXCommandHandler.h"
#include "workbench/engine/EngineContext.h"
#include "workbench/inspection/context/InspectionContext.h"
#include "workbench/viewer/GlobeWidget.h"
#include "workbench/viewmanager/HandlerRegistry.h"

#include <QDialog>
#include <QHBoxLayout>
#include <QLibrary>
#include <QMainWindow>
#include <QStringList>
#include <QTimer>
#include <QToolButton>

#include <gtest/gtest.h>
#include <osg/Group>
#include <osgGA/GUIEventAdapter>

#include <functional>
#include <vector>

/// The smallest program around the real platform libraries that can hold the plug-in: a window with a globe
/// and a row of tool buttons.
class PluginHost {
public:
    PluginHost();
    ~PluginHost();
    static PluginHost& instance();

    QMainWindow window;
    GlobeWidget* globe;
    QLibrary library;
    bool hasCreate = false;
    /// For each command, in order: how many handlers were registered when it was constructed.
    std::vector<std::size_t> handlersBeforeEachCommand;

    /// All by the tool's name.
    zeo::ICommand& command(const char* utf8Name) const;
    QToolButton& button(const char* utf8Name) const;
    /// By the registered name.
    CXCommandHandler& handler(const char* utf8RegisteredName) const;
    void click(const char* utf8Name) const;

    /// Delivers what was posted, as the viewer does between two frames.
    void deliver() const { HandlerRegistry::instance().deliverMessages(); }
    /// Waits until the globe shows everything.
    void settle() const;
    /// How many hover pickers are installed on the view.
    int pickerCount() const;
    /// Children of the map node with that name.
    std::vector<osg::Group*> groupsNamed(const std::string& name) const;
    /// What an event does in `handler`.
    bool handle(CXCommandHandler& handler, osgGA::GUIEventAdapter::EventType type) const;

private:
    QWidget m_row;
    QHBoxLayout* m_layout;
};

/// Base of all tests: leaves the active tool and delivers what that posts.
class PluginTest : public ::testing::Test {
protected:
    ~PluginTest() override;

    PluginHost& m_host = PluginHost::instance();
    zeo::EngineContext& m_engine = zeo::EngineContext::instance();
    HandlerRegistry& m_handlers = HandlerRegistry::instance();
};

/// While it lives, closes each modal dialog as a user would, with Esc, and keeps its texts.
class DialogCloser {
public:
    DialogCloser();
    QStringList objectNames;
    QStringList titles;
    QStringList texts;
    QList<QWidget*> parents;

private:
    QTimer m_poll;
};
