#include "plugin/ToolThreads.h"

#include "host/viewmanager/MessageBus.h"

#include <QMetaObject>
#include <QThread>

#include <memory>
#include <utility>

Inbox::~Inbox() {
    take();
}

void Inbox::leave(Work work) {
    auto* letter = new Letter{std::move(work), m_newest.load()};
    while (!m_newest.compare_exchange_weak(letter->before, letter)) {
    }
}

void Inbox::take() {
    std::deque<Work> inOrder;
    for (Letter* newest = m_newest.exchange(nullptr); newest;) {
        const std::unique_ptr<Letter> letter(newest);
        inOrder.push_front(std::move(letter->work));
        newest = letter->before;
    }
    for (Work& work : inOrder) {
        m_taken.push_back(std::move(work));
    }
}

void Inbox::doAll() {
    for (take(); !m_taken.empty(); take()) {
        const Work work = std::move(m_taken.front());
        m_taken.pop_front();
        work();
    }
}

void GuiInbox::leave(Inbox::Work work) {
    m_inbox.leave(std::move(work));
    // By name, so that nothing but the inbox itself goes from thread to thread.
    QMetaObject::invokeMethod(this, "doAll", Qt::QueuedConnection);
}

void ToolThreads::enterFrame() {
    m_frameThread = std::this_thread::get_id();
    m_forFrame.doAll();
}

void ToolThreads::onGui(Inbox::Work work) {
    if (QThread::currentThread() == m_forGui.thread()) {
        work();
        return;
    }
    m_forGui.leave(std::move(work));
}

void ToolThreads::onFrame(Inbox::Work work) {
    const std::thread::id frameThread = m_frameThread;
    if (frameThread == std::this_thread::get_id()) {
        work();
        return;
    }
    m_forFrame.leave(std::move(work));
    if (frameThread != std::thread::id()) {
        osgPush(m_wakeUp);
    }
}
