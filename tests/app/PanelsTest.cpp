#include "tests/app/SampleProject.h"
#include "tests/support/MenuEntry.h"
#include "tests/support/WaitUntil.h"

#include "workbench/app/MainWindow.h"
#include "workbench/style/Settings.h"
#include "workbench/viewer/GlobeWidget.h"

#include <gtest/gtest.h>

#include <QDockWidget>
#include <QMenu>
#include <QStatusBar>
#include <QTest>
#include <QTimer>
#include <QToolBar>
#include <QToolButton>

namespace {

/// A window that remembers its layout, on a project.
class PanelsTest : public ::testing::Test {
protected:
    PanelsTest() {
        Settings().remove("window");
        open();
    }
    ~PanelsTest() override {
        m_window.reset();
        Settings().remove("window");
    }

    void open() {
        m_window.reset(); // the libraries know one window at a time
        m_window = std::make_unique<MainWindow>();
        m_window->rememberLayout();
        m_window->showStartPage();
        m_window->show();
        EXPECT_TRUE(QTest::qWaitForWindowExposed(m_window.get()));
        EXPECT_FALSE(m_window->openProject(project().folder()).has_value());
        m_window->activateWindow();
        EXPECT_TRUE(waitUntil([this] { return m_window->isActiveWindow(); }));
    }
    void openAgain() {
        EXPECT_TRUE(m_window->close());
        open();
    }
    static SampleProject& project() {
        static SampleProject project(1024);
        return project;
    }

    QDockWidget& dock(const char* name) const { return *m_window->findChild<QDockWidget*>(name); }
    bool isSeen(const char* name) const { return !dock(name).isHidden(); }
    /// A click on an entry of the view's menu, which is found by the beginning of its text.
    void choose(const QString& entry) {
        bool wasChosen = false;
        QTimer::singleShot(0, m_window.get(), [&] {
            auto* menu = qobject_cast<QMenu*>(QApplication::activePopupWidget());
            ASSERT_NE(menu, nullptr);
            for (QAction* action : menu->actions()) {
                if (action->text().startsWith(entry)) {
                    clickEntry(*menu, *action);
                    wasChosen = true;
                    return;
                }
            }
            menu->close();
        });
        QTest::mouseClick(m_window->findChild<QToolButton*>("view"), Qt::LeftButton);
        EXPECT_TRUE(wasChosen) << entry.toStdString();
    }
    void press(Qt::Key key) { QTest::keyClick(&m_window->globe(), key); }

    std::unique_ptr<MainWindow> m_window;
};

TEST_F(PanelsTest, TheGlobeAloneAndBackLeavesEveryPanelAsItWas) {
    choose("影像对比");
    ASSERT_FALSE(isSeen("imageDock"));
    press(Qt::Key_F11);
    for (const char* name : {"stationDock", "layerDock", "anomalyDock", "imageDock"}) {
        EXPECT_FALSE(isSeen(name)) << name;
    }
    EXPECT_TRUE(m_window->statusBar()->isHidden());
    EXPECT_TRUE(m_window->findChild<QToolBar*>("tools")->isHidden());
    EXPECT_TRUE(waitUntil([this] { return m_window->globe().width() == m_window->width(); }));

    press(Qt::Key_F11);
    for (const char* name : {"stationDock", "layerDock", "anomalyDock"}) {
        EXPECT_TRUE(isSeen(name)) << name;
    }
    EXPECT_FALSE(isSeen("imageDock")) << "it was hidden before";
    EXPECT_FALSE(m_window->statusBar()->isHidden());
    EXPECT_FALSE(m_window->findChild<QToolBar*>("tools")->isHidden());
}

TEST_F(PanelsTest, SizeAndPanelsAreFoundAsTheyWereLeft) {
    choose("影像对比");
    m_window->resize(1111, 777);
    ASSERT_TRUE(waitUntil([this] { return m_window->size() == QSize(1111, 777); }));
    openAgain();
    EXPECT_EQ(m_window->size(), QSize(1111, 777));
    EXPECT_FALSE(isSeen("imageDock"));
    EXPECT_TRUE(isSeen("anomalyDock"));
}

TEST_F(PanelsTest, AWindowThatIsClosedWithTheGlobeAloneComesBackWithItsPanels) {
    press(Qt::Key_F11);
    ASSERT_FALSE(isSeen("stationDock"));
    openAgain();
    EXPECT_TRUE(isSeen("stationDock"));
    EXPECT_FALSE(m_window->findChild<QToolBar*>("tools")->isHidden());
}

TEST_F(PanelsTest, TheStartPageHidesThePanelsAndRemembersThem) {
    choose("异常列表");
    m_window->showStartPage();
    EXPECT_FALSE(isSeen("stationDock"));
    openAgain();
    EXPECT_TRUE(isSeen("stationDock"));
    EXPECT_FALSE(isSeen("anomalyDock"));
}

TEST_F(PanelsTest, EverythingCanBePutBack) {
    choose("异常列表");
    dock("imageDock").setFloating(true);
    choose("恢复默认布局");
    for (const char* name : {"stationDock", "layerDock", "anomalyDock", "imageDock"}) {
        EXPECT_TRUE(isSeen(name)) << name;
        EXPECT_FALSE(dock(name).isFloating()) << name;
    }
    EXPECT_TRUE(waitUntil([this] { return dock("stationDock").visibleRegion().isEmpty() == false; }))
        << "the stations lie in front of the layers";
}

TEST_F(PanelsTest, WhatWasStoredAndCannotBeReadIsNoHindrance) {
    m_window->close();
    Settings().setValue("window/geometry", QByteArray("rubbish"));
    Settings().setValue("window/layout", QByteArray("rubbish"));
    open();
    EXPECT_TRUE(isSeen("stationDock"));
    EXPECT_TRUE(m_window->screen()->availableGeometry().contains(m_window->geometry().center()));
}

} // namespace
