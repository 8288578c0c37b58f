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
#include <utility>
#include <vector>

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
    void clickTool(const char* tool) {
        m_host.click(tool);
        m_host.settle();
    }
    void moveTo(float x, float y) {
        m_host.move(x, y);
        m_host.settle();
    }
    /// The pointer comes from beside it, so that the hover picker sees it move.
    void hoverAt(float x, float y) {
        moveTo(x + 1.0F, y);
        moveTo(x, y);
    }
    void hover(std::size_t anomaly) {
        const osg::Vec2d at = m_host.pixelOf(anomaly);
        hoverAt(static_cast<float>(at.x()), static_cast<float>(at.y()));
    }
    void click(int button) {
        m_host.press(button);
        m_host.settle();
        m_host.release(button);
        m_host.settle();
    }
    /// Left clicks at the corners of an area, a right click at the last of them.
    void digitise(const std::vector<std::pair<float, float>>& corners) {
        for (std::size_t i = 0; i < corners.size(); ++i) {
            moveTo(corners[i].first, corners[i].second);
            click(i + 1 < corners.size() ? kLeft : kRight);
        }
    }
    /// Adds to the title in that dialog, which is open, and confirms it.
    void confirm(const char* form, const char* title) {
        QWidget* open = dialog(form);
        QTest::keyClicks(&theChild<QLineEdit>(open, "lineEditTitle"), title);
        QTest::mouseClick(&theChild<QPushButton>(open, "pushButtonOK"), Qt::LeftButton);
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
