#include "ServedHeights.h"

#include "HeightPyramid.h"
#include "LoadingThreads.h"
#include "RasterSource.h"
#include "ServerPause.h"

#include <cpl_vsi.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <deque>
#include <mutex>
#include <utility>

namespace osgEarth {
namespace {

using Clock = std::chrono::steady_clock;
using Place = HeightPyramid::Place;

constexpr int kCoarsestCells = 512;
constexpr std::size_t kMostWaiting = 256;
// The terrain takes up many blocks at once: each time, all tiles in view are made anew.
constexpr std::chrono::milliseconds kBetweenNews{500};

int coarsestStepOf(const RasterSource& source) {
    int step = 1;
    while (std::max(source.columns(), source.rows()) / step > kCoarsestCells) {
        step *= 2;
    }
    return step;
}

} // namespace

class ServedHeights::Loader : public std::enable_shared_from_this<Loader> {
public:
    explicit Loader(const std::shared_ptr<RasterSource>& source)
        : m_source(source), m_pyramid(source->columns(), source->rows(), coarsestStepOf(*source)) {}

    bool fetchWhole(RasterSource& source);
    void start();
    void cancel();
    void heights(const CellWindow& window, Lacking lacking, std::vector<float>& heights);
    bool isLoading() const;
    int revision() const { return m_revision; }

private:
    using Lock = std::unique_lock<std::mutex>;

    void run();
    void ask(const Place& place);
    void fetch(Place place, std::shared_ptr<RasterSource> source, Lock& lock);
    void noteFailure(const Place& place);
    void tellNews();

    const std::weak_ptr<RasterSource> m_source; // its owner's
    std::atomic<int> m_revision{0};

    mutable std::mutex m_mutex; // guards what follows
    std::condition_variable m_changed;
    bool m_isCancelled = false;
    HeightPyramid m_pyramid;
    std::deque<Place> m_newestFirst; // asked for
    bool m_hasNews = false;
    Clock::time_point m_toldAt;
    Clock::time_point m_pausedUntil;
    int m_pauses = 0; // since the server answered last
};

bool ServedHeights::Loader::fetchWhole(RasterSource& source) {
    CellWindow whole;
    whole.width = source.columns();
    whole.height = source.rows();
    whole.step = m_pyramid.coarsestStep();
    for (const Place& place : m_pyramid.blocksOf(whole)) {
        std::vector<float> heights;
        if (!source.fetchHeights(m_pyramid.windowOf(place), heights)) {
            return false;
        }
        m_pyramid.insert(place, std::move(heights));
    }
    return true;
}

void ServedHeights::Loader::start() {
    LoadingThreads::instance().start([self = shared_from_this()] { self->run(); });
}

void ServedHeights::Loader::cancel() {
    const std::lock_guard lock(m_mutex);
    m_isCancelled = true;
    m_changed.notify_all();
}

bool ServedHeights::Loader::isLoading() const {
    const std::lock_guard lock(m_mutex);
    return m_hasNews || !m_newestFirst.empty();
}

void ServedHeights::Loader::heights(const CellWindow& window, Lacking lacking, std::vector<float>& heights) {
    const std::lock_guard lock(m_mutex);
    if (lacking == Lacking::Ask) {
        for (const Place& place : m_pyramid.blocksOf(window)) {
            if (!m_pyramid.has(place)) {
                ask(place);
            }
        }
    }
    m_pyramid.read(window, heights);
}

// What was asked for first may lie out of view by now; a tile that still lacks it asks again when it is made anew.
void ServedHeights::Loader::ask(const Place& place) {
    const auto known = std::find(m_newestFirst.begin(), m_newestFirst.end(), place);
    if (known != m_newestFirst.end()) {
        m_newestFirst.erase(known);
    }
    m_newestFirst.push_front(place);
    if (m_newestFirst.size() > kMostWaiting) {
        m_newestFirst.pop_back();
    }
    m_changed.notify_all();
}

void ServedHeights::Loader::run() {
    Lock lock(m_mutex);
    while (!m_isCancelled) {
        const Clock::time_point now = Clock::now();
        if (m_hasNews && (m_newestFirst.empty() || now - m_toldAt >= kBetweenNews)) {
            tellNews();
        }
        if (m_newestFirst.empty()) {
            m_changed.wait(lock);
        } else if (m_pausedUntil > now) {
            m_changed.wait_until(lock, m_pausedUntil);
        } else if (std::shared_ptr<RasterSource> source = m_source.lock()) {
            fetch(m_newestFirst.front(), std::move(source), lock);
        } else {
            return;
        }
    }
}

void ServedHeights::Loader::fetch(Place place, std::shared_ptr<RasterSource> source, Lock& lock) {
    const CellWindow window = m_pyramid.windowOf(place);
    std::vector<float> heights;
    lock.unlock();
    const bool isRead = source->fetchHeights(window, heights);
    source.reset(); // where it was the last, its end takes the lock
    lock.lock();
    if (!isRead) {
        noteFailure(place);
        return;
    }
    m_newestFirst.erase(std::remove(m_newestFirst.begin(), m_newestFirst.end(), place), m_newestFirst.end());
    m_pyramid.insert(place, std::move(heights));
    m_pauses = 0;
    m_hasNews = true;
}

// A single block may be bad, so that others have their turn before it.
void ServedHeights::Loader::noteFailure(const Place& place) {
    const auto failed = std::find(m_newestFirst.begin(), m_newestFirst.end(), place);
    if (failed != m_newestFirst.end()) {
        std::rotate(failed, failed + 1, m_newestFirst.end());
    }
    m_pausedUntil = Clock::now() + pauseAfter(++m_pauses);
    VSICurlClearCache(); // it would remember that the file is not there
}

void ServedHeights::Loader::tellNews() {
    m_hasNews = false;
    m_toldAt = Clock::now();
    ++m_revision;
}

std::unique_ptr<ServedHeights> ServedHeights::start(const std::shared_ptr<RasterSource>& source) {
    const auto loader = std::make_shared<Loader>(source);
    if (!loader->fetchWhole(*source)) {
        return nullptr;
    }
    loader->start();
    return std::unique_ptr<ServedHeights>(new ServedHeights(loader));
}

ServedHeights::ServedHeights(std::shared_ptr<Loader> loader) : m_loader(std::move(loader)) {}

ServedHeights::~ServedHeights() {
    m_loader->cancel();
}

void ServedHeights::heights(const CellWindow& window, Lacking lacking, std::vector<float>& heights) {
    m_loader->heights(window, lacking, heights);
}

bool ServedHeights::isLoading() const {
    return m_loader->isLoading();
}

int ServedHeights::revision() const {
    return m_loader->revision();
}

} // namespace osgEarth
