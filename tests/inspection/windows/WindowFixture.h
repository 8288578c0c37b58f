#pragma once

#include "workbench/inspection/context/InspectionContext.h"
#include "workbench/viewer/GlobeWidget.h"

#include <gtest/gtest.h>

#include <QMainWindow>
#include <QStringList>
#include <QTableView>
#include <QTemporaryDir>
#include <QTimer>
#include <QTreeWidget>

#include <functional>
#include <memory>
#include <vector>

/// Answers every message box that opens while it lives with its confirming button, and remembers what it
/// said.
class MessageWatch : public QObject {
public:
    /// What is answered to a question.
    explicit MessageWatch(bool isConfirming = true);
    /// Texts of the boxes so far, in order.
    const QStringList& texts() const { return m_texts; }
    /// Titles of the same boxes.
    const QStringList& titles() const { return m_titles; }

private:
    void look();

    QStringList m_texts;
    QStringList m_titles;
    QTimer m_timer;
    const char* const m_answer;
};

/// A main window with a globe and the inspection windows around it, on a project of its own: a copy of one
/// small sample corridor that is made once for the whole program.
class InspectionWindowTest : public testing::Test {
protected:
    void SetUp() override;
    void TearDown() override;

    /// Copies the sample corridor to a new folder.
    static QString copySample(const QTemporaryDir& parent);
    /// Runs the event loop until `done`, at most two minutes.
    static bool waitUntil(const std::function<bool()>& done);
    /// A picture of a widget, kept when CORRIDOR_TEST_PICTURES names a folder.
    static void keepPicture(QWidget& widget, const QString& name);

    InspectionContext& context() { return InspectionContext::instance(); }
    void openSample();
    /// Checks the first stations, by mouse, and computes them.
    void computeStations(int count);
    /// Opens a sample whose first four stations have been computed, once for all tests, and checks them.
    void openComputed();
    /// The first of them when several have as many; null when nothing is checked.
    KV_StationItem* checkedStationWithMostAnomalies();

    QTreeWidget& tree() const;
    QTreeWidgetItem* station(int index) const { return tree().topLevelItem(0)->child(index); }
    QTableView& table() const;
    /// Clicks the check box of a tree item.
    void clickCheckBox(QTreeWidgetItem* item, Qt::KeyboardModifiers modifiers = {}) const;
    /// The groups of anomaly overlays under the map node.
    std::vector<osg::Group*> overlayGroups() const;

    QTemporaryDir m_folder;
    QString m_project;
    std::unique_ptr<QMainWindow> m_window;
    GlobeWidget* m_globe = nullptr;
    bool m_finished = false;
    bool m_succeeded = false;
    QString m_message;
};
