// Threads that nobody waits for while the program runs.
#pragma once
#include <chrono>
#include <condition_variable>
#include <functional>
#include <list>
#include <mutex>
#include <thread>

namespace osgEarth {

/// Runs work that may be held up by a server for a while after nobody wants it any more. The program's end
/// waits for all of it. Thread safe.
class LoadingThreads {
public:
    static LoadingThreads& instance();
    /// Runs `work` on a thread of its own; it must end soon after it has been told so.
    void start(std::function<void()> work);
    /// Whether all work has ended within the time.
    bool waitForAll(std::chrono::milliseconds most);

private:
    struct Entry {
        std::thread thread;
        bool hasEnded = false;
    };

    LoadingThreads();
    ~LoadingThreads();
    bool allHaveEnded() const;

    std::mutex m_mutex;
    std::condition_variable m_ended;
    std::list<Entry> m_entries;
};

} // namespace osgEarth
