#pragma once

#include <QObject>

#include <atomic>
#include <deque>
#include <functional>
#include <string>
#include <thread>

/// Work that one thread leaves for another. Any thread leaves, one thread takes; no locks.
class Inbox {
public:
    using Work = std::function<void()>;

    Inbox() = default;
    ~Inbox();
    Inbox(const Inbox&) = delete;
    Inbox& operator=(const Inbox&) = delete;

    void leave(Work work);
    /// Does all the work that was left, in the order in which it was left, also where work that opens a menu
    /// lets more of it in.
    void doAll();

private:
    struct Letter {
        Work work;
        Letter* before; ///< the one that was left before this one
    };
    void take();

    std::atomic<Letter*> m_newest{nullptr};
    std::deque<Work> m_taken; ///< only the taking thread looks at it
};

/// An inbox that the event loop of the thread that made it empties.
class GuiInbox : public QObject {
    Q_OBJECT

public:
    /// Any thread.
    void leave(Inbox::Work work);

private slots:
    void doAll() { m_inbox.doAll(); }

private:
    Inbox m_inbox;
};

/// The two threads of a tool's life: slots and activation run on the GUI thread, handle and OnMessage on the
/// one that runs the viewer's frames, which may be the same. Widgets and the inspection data library belong
/// to the first, the scene to the second. Each side hands the other what belongs to it, in order; where both
/// are one thread, everything happens at once.
class ToolThreads {
public:
    /// On the GUI thread. `wakeUp` is a message of the tool's own on the bus: it says nothing, but its
    /// delivery makes the tool call enterFrame.
    explicit ToolThreads(const char* wakeUp) : m_wakeUp(wakeUp) {}

    /// To be called first in handle and in OnMessage. Does what the GUI thread has left.
    void enterFrame();
    /// Does the work on the GUI thread: now when called there.
    void onGui(Inbox::Work work);
    /// Does the work on the thread of the frames: now when called there. Before the first enterFrame nobody
    /// knows which thread that is, and the work waits for the next message.
    void onFrame(Inbox::Work work);

private:
    const char* const m_wakeUp;
    std::atomic<std::thread::id> m_frameThread{};
    GuiInbox m_forGui; ///< what waits in it goes with it
    Inbox m_forFrame;
};
