#pragma once

#include "workbench/app/MainWindow.h"

#include <gtest/gtest.h>
#include <osgEarthAnnotation/ImageOverlay>

#include <QMap>
#include <QPointer>
#include <QString>
#include <QStringList>
#include <QTableView>
#include <QTreeWidget>

#include <functional>
#include <memory>

/// Base of the tests that work through a project as an inspector does: in the program's own window, by mouse
/// and key events alone. With CORRIDOR_GUIDE_PICTURES set to a folder, each step leaves a picture there.
class WalkTest : public ::testing::Test {
protected:
    WalkTest();
    ~WalkTest() override;

    void open(const QString& folder);
    /// The window without a project, as the program shows it.
    void openStartPage();
    void close() { m_window.reset(); }

    // By mouse.
    void clickTool(const char* utf8Name);
    void tickAllStations();
    void computeAnomalies();
    void clickStation(int index);
    void clickRow(const QString& anomaly);
    void doubleClickRow(const QString& anomaly);
    /// A click in the middle of the anomaly on the globe; a pointer move comes first.
    void clickOnGlobe(const QString& anomaly);
    void moveTo(const QPoint& place);
    void clickAt(const QPoint& place, Qt::MouseButton button);
    /// Right-clicks there and chooses these entries one after the other; false when no menu opened.
    bool chooseAt(const QPoint& place, QStringList path);
    /// A special object in the tree: the globe's view flies there.
    void doubleClickObject(const QString& name);
    /// With Shift held, from one corner to the opposite one; pixels of the globe.
    void dragRectangle(const QPoint& from, const QPoint& to);
    /// Right-clicks the anomaly on the globe and chooses these entries one after the other.
    void chooseOnGlobe(const QString& anomaly, const QStringList& path);

    // By key, wherever the focus is.
    void key(int key, Qt::KeyboardModifiers modifiers = {});

    void waitForGlobe();
    void waitForPictures();
    static bool waitUntil(const std::function<bool()>& done);
    /// Answers the next message box that opens with its confirming button, by mouse or with Enter.
    void answerNextBox(bool byKey);

    MainWindow& window() { return *m_window; }
    QTreeWidgetItem* station(int index) const;
    int stationCount() const;
    QTableView& table() const;
    QStringList rows() const;
    QString currentRow() const;
    QStringList selectedRows() const;
    osg::ref_ptr<osgEarth::Annotation::ImageOverlay> overlay(const QString& anomaly) const;
    bool isHighlighted(const QString& anomaly) const;
    /// Where the special object's label stands.
    QPoint placeOnGlobe(const QString& object) const;
    /// In the middle between north and south, at that share of the way from west to east.
    QPoint placeOf(const QString& anomaly, double share = 0.5) const;
    /// Name and attribute of every stored anomaly, read by a connection of its own.
    QMap<QString, QString> stored() const;

    void keepPicture(const QString& name);

    QString m_folder;

private:
    std::unique_ptr<MainWindow> m_window;
};
