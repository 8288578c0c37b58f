// What may happen between the two threads, one step at a time.

#include "tests/foreign/ForeignFixture.h"

#include <QThread>

#include <algorithm>

namespace {

using osgGA::GUIEventAdapter;

class ThreadsInAForeignHost : public InAForeignHost {
protected:
    static QString selectedBy(const QStringList& calls) {
        const QStringList selections = calls.filter("SetSelectedbyname");
        return selections.isEmpty() ? QString() : selections.last();
    }
};

/// While it lives, notes on which threads the widgets of that class are made and go.
class WidgetWatch {
public:
    explicit WidgetWatch(const char* className) : m_className(className) { look(); }
    ~WidgetWatch() {
        for (const QMetaObject::Connection& connection : m_connections) {
            QObject::disconnect(connection);
        }
    }
    /// Takes up those that were made since the last look.
    void look() {
        for (QWidget* widget : QApplication::allWidgets()) {
            if (!widget->inherits(m_className) || known.contains(widget)) {
                continue;
            }
            known.insert(widget);
            madeElsewhere += widget->thread() == QThread::currentThread() ? 0 : 1;
            m_connections.push_back(
                QObject::connect(widget, &QObject::destroyed, [this, gui = QThread::currentThread()] {
                    ++gone;
                    goneElsewhere += QThread::currentThread() == gui ? 0 : 1;
                }));
        }
    }
    QSet<QWidget*> known;
    int madeElsewhere = 0;
    std::atomic<int> gone{0};
    std::atomic<int> goneElsewhere{0};

private:
    const char* const m_className;
    std::vector<QMetaObject::Connection> m_connections;
};

TEST_F(ThreadsInAForeignHost, WidgetsOfPickersAreMadeAndGoOnTheGuiThreadHoweverFastTheToolIsSwitched) {
    for (const auto& [tool, widget] : {std::pair(kLook, "PickCallback"), {kEdit, "PickCallback_other"}}) {
        WidgetWatch watch(widget);
        {
            const ForeignHost::StoppedFrames stop(m_host);
            for (int click = 0; click < 3; ++click) {
                m_host.click(tool);
                watch.look();
            }
        }
        m_host.settle();
        watch.look();
        EXPECT_GE(watch.known.size(), 2) << widget;
        EXPECT_EQ(watch.madeElsewhere, 0) << widget;
        for (int click = 0; click < 4; ++click) { // each takes the place of the one that was left
            m_host.click(tool);
            m_host.settle();
        }
        watch.look();
        EXPECT_GE(watch.gone, 2) << widget;
        EXPECT_EQ(watch.madeElsewhere, 0) << widget;
        EXPECT_EQ(watch.goneElsewhere, 0) << widget;
        m_host.leaveActiveTool();
        m_host.settle();
    }
}

TEST_F(ThreadsInAForeignHost, APickerMessageThatNobodyAnnouncedBringsAPickerOfTheGuiThread) {
    WidgetWatch watch("PickCallback");
    const std::size_t before = m_host.eventHandlers();
    m_host.post("addPick");
    m_host.settle();
    watch.look();
    EXPECT_EQ(m_host.eventHandlers(), before + 1);
    EXPECT_EQ(watch.madeElsewhere, 0);
    m_host.post("removePick");
    m_host.settle();
    EXPECT_EQ(m_host.eventHandlers(), before);
}

TEST_F(ThreadsInAForeignHost, RowsThatAreSelectedAfterAPressReplaceWhatItPicked) {
    ForeignContext::hasLinkedTable = true;
    m_host.click(kLook);
    m_host.settle();
    hover(5);
    m_host.press(kLeft);
    for (int frame = 0; frame < 2; ++frame) {
        const ForeignHost::StoppedFrames passed(m_host); // the press is handled, and not yet told
    }
    emit ForeignContext::linkedTable().selectionChanged({"A7"});
    m_host.settle();
    m_host.release(kLeft);
    m_host.settle();
    EXPECT_EQ(m_host.highlighted(), std::vector<std::size_t>{7});
    const bool isToldBefore = !m_host.hasOwnFrameThread();
    EXPECT_EQ(selectedBy(m_host.calls).toStdString(), isToldBefore ? "SetSelectedbyname A5" : "");
    {
        const Chooser chooser("删除");
        click(kRight);
    }
    EXPECT_TRUE(m_host.calls.contains("DeleteItems A7")) << m_host.calls.join(", ").toStdString();
    hover(6);
    click(kLeft);
    EXPECT_EQ(selectedBy(m_host.calls).toStdString(), "SetSelectedbyname A6")
        << "the next press counts again";
    EXPECT_EQ(m_host.highlighted(), std::vector<std::size_t>{6});
}

TEST_F(ThreadsInAForeignHost, PickingByBoundsIsAskedForWhereverTheEventsAre) {
    m_host.click(kLook);
    m_host.settle();
    ForeignContext::parameters().mode = 1;
    m_host.keyDown(GUIEventAdapter::KEY_Control_L);
    for (const std::size_t anomaly : {5U, 6U}) {
        hover(anomaly);
        click(kLeft);
    }
    m_host.keyUp(GUIEventAdapter::KEY_Control_L);
    m_host.settle();
    EXPECT_EQ(m_host.highlighted(), (std::vector<std::size_t>{5, 6}));
    const Chooser chooser("nothing");
    click(kRight);
    EXPECT_EQ(chooser.menus, 0) << "a menu is for what was picked by hovering";
    hover(7);
    click(kLeft);
    EXPECT_EQ(m_host.highlighted(), std::vector<std::size_t>{7});
    EXPECT_EQ(m_host.valueLabel(), "1.25");
}

} // namespace
