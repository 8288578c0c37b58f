#include "LoadingThreads.h"

#include <osgEarth/SpatialReference>

#include <algorithm>

namespace osgEarth {

LoadingThreads& LoadingThreads::instance() {
    static LoadingThreads threads;
    return threads;
}

LoadingThreads::LoadingThreads() {
    SpatialReference::get("wgs84"); // what the threads use was made before, so that it goes after them
}

LoadingThreads::~LoadingThreads() {
    for (Entry& entry : m_entries) {
        entry.thread.join();
    }
}

void LoadingThreads::start(std::function<void()> work) {
    const std::lock_guard lock(m_mutex);
    m_entries.remove_if([](Entry& entry) {
        if (entry.hasEnded) {
            entry.thread.join();
        }
        return entry.hasEnded;
    });
    Entry& entry = m_entries.emplace_back();
    entry.thread = std::thread([this, &entry, work = std::move(work)]() mutable {
        work();
        work = nullptr; // what it holds goes before the thread counts as ended
        const std::lock_guard ending(m_mutex);
        entry.hasEnded = true;
        m_ended.notify_all();
    });
}

bool LoadingThreads::waitForAll(std::chrono::milliseconds most) {
    std::unique_lock lock(m_mutex);
    return m_ended.wait_for(lock, most, [this] { return allHaveEnded(); });
}

bool LoadingThreads::allHaveEnded() const {
    return std::all_of(m_entries.begin(), m_entries.end(), [](const Entry& entry) { return entry.hasEnded; });
}

} // namespace osgEarth
