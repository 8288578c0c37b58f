#pragma once

#include "host/engine/ITool.h"
#include "tests/foreign/ForeignHost.h"
#include "tests/foreign/ForeignWindows.h"
#include "tests/support/MenuEntry.h"
#include "tests/support/TheChild.h"
#include "tests/support/WaitUntil.h"

#include <QApplication>
#include <QLineEdit>
#include <QMenu>
#include <QPushButton>
#include <QTest>
#include <QTimer>
#include <QToolButton>

#include <gtest/gtest.h>
#include <osgGA/GUIEventAdapter>

#include <functional>

inline constexpr int kLeft = 1;
inline constexpr int kRight = 3; // as the event queue counts them

inline constexpr char kLook[] = "查看\\编辑异常";
inline constexpr char kEdit[] = "编辑特殊区域";
inline constexpr char kPoint[] = "添加特殊点";
inline constexpr char kArea[] = "添加特殊面";

/// While it lives, chooses from each menu that opens, and closes what has none of its entries.
class Chooser {
public:
    explicit Chooser(const QString& entry) {
        QObject::connect(&m_poll, &QTimer::timeout, [this, entry] {
            auto* menu = qobject_cast<QMenu*>(QApplication::activePopupWidget());
            if (!menu) {
                return;
            }
            ++menus;
            if (onMenu) {
                onMenu();
            }
            for (QAction* action : menu->actions()) {
                if (action->text() == entry) {
                    clickEntry(*menu, *action);
                    return;
                }
            }
            QTest::keyClick(menu, Qt::Key_Escape);
        });
        m_poll.start(5);
    }
    int menus = 0;
    std::function<void()> onMenu; ///< done whenever one has opened

private:
    QTimer m_poll;
};

class InAForeignHost : public ::testing::Test {
protected:
    void SetUp() override {
        ForeignContext::reset();
        m_host.calls.clear();
        m_host.messages.clear();
        m_host.boxes.clear();
        m_host.domReads.clear();
        m_host.betweenFrames([this] { m_host.lookFromAbove(); }); // a double-click flies on for a while
        m_host.settle();
    }
    void TearDown() override {
        for (const char* name : {"CDrawPointDlg", "CdrawPolygonDlg"}) {
            if (QWidget* open = dialog(name)) {
                open->close();
            }
        }
        m_host.leaveActiveTool();
        m_host.settle();
        ForeignContext::reset();
    }
    /// The pointer comes from beside it, so that the hover picker sees it move.
    void hover(std::size_t anomaly) {
        const osg::Vec2d at = m_host.pixelOf(anomaly);
        m_host.move(static_cast<float>(at.x()) + 1.0F, static_cast<float>(at.y()));
        m_host.settle();
        m_host.move(static_cast<float>(at.x()), static_cast<float>(at.y()));
        m_host.settle();
    }
    void click(int button) {
        m_host.press(button);
        m_host.settle();
        m_host.release(button);
        m_host.settle();
    }
    static QWidget* dialog(const char* name) {
        for (QWidget* window : QApplication::topLevelWidgets()) {
            if (window->isVisible() && window->objectName() == name) {
                return window;
            }
        }
        return nullptr;
    }

    ForeignHost& m_host = ForeignHost::instance();
};
