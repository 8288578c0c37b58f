#include "DistantRaster.h"

#include "LoadingThreads.h"
#include "RasterSource.h"
#include "ServedRaster.h"
#include "ServerPause.h"

#include <cpl_conv.h>
#include <cpl_error.h>
#include <cpl_vsi.h>

#include <chrono>
#include <condition_variable>
#include <list>
#include <optional>

namespace osgEarth {
namespace {

using Clock = std::chrono::steady_clock;

constexpr int kThreads = 2;
// A single tile may be bad; two different ones in a row mean that the server is.
constexpr int kFailuresOfAServer = 2;
// Coarse pictures may be empty where the finer ones, which are asked for next, are not.
constexpr std::chrono::seconds kPatienceWithEmptyPictures{3};

void fillGaps(std::vector<std::uint8_t>& rgba, const std::vector<std::uint8_t>& below) {
    for (std::size_t i = 0; i + 3 < rgba.size(); i += 4) {
        if (rgba[i + 3] == 0) {
            std::copy_n(below.begin() + static_cast<std::ptrdiff_t>(i), 4,
                        rgba.begin() + static_cast<std::ptrdiff_t>(i));
        }
    }
}

std::string lastError(const char* otherwise) {
    const std::string text = CPLGetLastErrorMsg();
    return text.empty() ? otherwise : text;
}

} // namespace

class DistantRaster::Loader : public std::enable_shared_from_this<Loader> {
public:
    Loader(const std::string& location, Use use)
        : m_location(location), m_cacheOnly(cacheOnly(location)), m_use(use) {}

    void start();
    void cancel();
    bool image(const SampleGrid& grid, std::vector<std::uint8_t>& rgba, const PictureNews& news);

    std::shared_ptr<RasterSource> raster() const;
    int revision() const { return m_revision; }
    bool hasAnswered() const { return m_hasAnswered; }
    int arrivals() const;
    bool isLoading() const;
    std::string trouble() const;

private:
    struct Job {
        SampleGrid grid;
        std::weak_ptr<std::atomic<bool>> news;
        Clock::time_point due;
        int failures = 0;
        bool isRunning = false;
        bool wasInCache = false; // looked for there, while the server did not answer
    };
    using JobPosition = std::list<Job>::iterator;
    using Lock = std::unique_lock<std::mutex>;

    void run();
    void open(Lock& lock);
    void fetch(JobPosition job, Lock& lock);
    void fetchFromCache(JobPosition job, Lock& lock);
    std::optional<PictureCache::Picture> readCache(const SampleGrid& grid);
    void ask(const SampleGrid& grid, const PictureNews& news);
    void dropUnwanted();
    std::optional<JobPosition> nextJob();
    std::optional<JobPosition> nextForCache();
    Clock::time_point nextDue() const;
    void noteFailure(Job& job, const std::string& reason);
    void noteAnswer(bool isEmpty);
    void noteWorthRefining();
    void store(Job& job, PictureCache::Picture picture);

    const std::string m_location;
    const std::string m_cacheOnly;
    const Use m_use;
    std::atomic<int> m_revision{0};
    std::atomic<int> m_arrivals{0};
    std::atomic<bool> m_hasAnswered{false};

    mutable std::mutex m_mutex; // guards what follows
    std::condition_variable m_changed;
    bool m_isCancelled = false;
    bool m_isOpening = false;
    std::shared_ptr<RasterSource> m_source;
    std::shared_ptr<RasterSource> m_cache; // the same, out of the cache alone
    std::list<Job> m_newestFirst;
    PictureCache m_pictures;
    int m_failuresInARow = 0; // of reads that were tried for the first time
    int m_pauses = 0;         // since the server answered last
    Clock::time_point m_pausedUntil;
    std::string m_trouble;
    bool m_hasDrawn = false;
    std::optional<Clock::time_point> m_emptySince;
};

void DistantRaster::Loader::start() {
    for (int i = 0; i < kThreads; ++i) {
        LoadingThreads::instance().start([self = shared_from_this()] { self->run(); });
    }
}

void DistantRaster::Loader::cancel() {
    const std::lock_guard lock(m_mutex);
    m_isCancelled = true;
    m_changed.notify_all();
}

std::shared_ptr<RasterSource> DistantRaster::Loader::raster() const {
    const std::lock_guard lock(m_mutex);
    return m_source;
}

int DistantRaster::Loader::arrivals() const {
    const std::lock_guard lock(m_mutex);
    return m_arrivals + (m_source ? m_source->heightArrivals() : 0);
}

bool DistantRaster::Loader::isLoading() const {
    const std::lock_guard lock(m_mutex);
    return !m_source || m_source->isLoadingHeights() ||
           std::any_of(m_newestFirst.begin(), m_newestFirst.end(),
                       [](const Job& job) { return !job.news.expired(); });
}

std::string DistantRaster::Loader::trouble() const {
    const std::lock_guard lock(m_mutex);
    const bool isEmpty = !m_hasDrawn && m_newestFirst.empty() && m_emptySince &&
                         Clock::now() - *m_emptySince > kPatienceWithEmptyPictures;
    return m_trouble.empty() && isEmpty ? "no tiles" : m_trouble;
}

bool DistantRaster::Loader::image(const SampleGrid& grid, std::vector<std::uint8_t>& rgba,
                                  const PictureNews& news) {
    const std::shared_ptr<RasterSource> source = raster();
    if (!source || !isWorthReading(*source, grid)) {
        return false;
    }
    const std::lock_guard lock(m_mutex);
    PictureCache::Picture* picture = m_pictures.find(grid);
    if (!picture || !picture->isComplete) {
        ask(grid, news);
    } else if (picture->rgba.empty()) {
        picture->news = news;
    }
    if (!picture || picture->rgba.empty()) {
        return m_pictures.magnified(grid, rgba);
    }
    rgba = picture->rgba;
    std::vector<std::uint8_t> coarser;
    if (!picture->isComplete && m_pictures.magnified(grid, coarser)) {
        fillGaps(rgba, coarser);
    }
    return true;
}

// The latest who asks is the one who is told: he takes the place of the one before.
void DistantRaster::Loader::ask(const SampleGrid& grid, const PictureNews& news) {
    for (Job& job : m_newestFirst) {
        if (isSameGrid(job.grid, grid)) {
            job.news = news;
            return;
        }
    }
    Job job;
    job.grid = grid;
    job.news = news;
    m_newestFirst.push_front(job);
    m_changed.notify_one();
}

void DistantRaster::Loader::run() {
    Lock lock(m_mutex);
    while (!m_isCancelled) {
        if (!m_source && !m_isOpening && m_pausedUntil <= Clock::now()) {
            open(lock);
            continue;
        }
        dropUnwanted();
        if (const std::optional<JobPosition> job = nextJob()) {
            fetch(*job, lock);
        } else if (const std::optional<JobPosition> other = nextForCache()) {
            fetchFromCache(*other, lock);
        } else {
            m_changed.wait_until(lock, nextDue());
        }
    }
}

void DistantRaster::Loader::open(Lock& lock) {
    m_isOpening = true;
    lock.unlock();
    std::string trouble;
    std::shared_ptr<RasterSource> source;
    if (const std::optional<std::string> ready = readyToOpen(m_location, trouble)) {
        Status status;
        source = RasterSource::open(*ready, status, RasterSource::Log::Nothing);
        trouble = source ? std::string() : status.message().substr(ready->size() + 2); // ": "
        if (source && m_use == Use::Heights && !source->serveHeights()) {
            trouble = lastError("cannot be read");
            source.reset();
        }
    }
    if (!source) {
        VSICurlClearCache(); // it would remember that the file is not there
    }
    lock.lock();
    m_isOpening = false;
    if (source) {
        m_source = std::move(source);
        m_trouble.clear();
        m_pauses = 0;
        ++m_revision;
        ++m_arrivals;
    } else {
        m_trouble = trouble;
        m_pausedUntil = Clock::now() + pauseAfter(++m_pauses);
    }
    m_changed.notify_all();
}

void DistantRaster::Loader::dropUnwanted() {
    m_newestFirst.remove_if([](const Job& job) { return !job.isRunning && job.news.expired(); });
}

std::optional<DistantRaster::Loader::JobPosition> DistantRaster::Loader::nextJob() {
    const Clock::time_point now = Clock::now();
    if (!m_source || m_pausedUntil > now) {
        return std::nullopt;
    }
    const auto job = std::find_if(m_newestFirst.begin(), m_newestFirst.end(),
                                  [&](const Job& other) { return !other.isRunning && other.due <= now; });
    if (job == m_newestFirst.end()) {
        return std::nullopt;
    }
    if (m_pauses > 0) {
        m_pausedUntil = now + pauseAfter(m_pauses); // one tries, the other waits how it goes
    }
    return job;
}

// Nobody waits for the server where it is known not to answer.
std::optional<DistantRaster::Loader::JobPosition> DistantRaster::Loader::nextForCache() {
    if (m_cacheOnly.empty() || m_pauses == 0) {
        return std::nullopt;
    }
    const auto job = std::find_if(m_newestFirst.begin(), m_newestFirst.end(),
                                  [](const Job& other) { return !other.isRunning && !other.wasInCache; });
    return job == m_newestFirst.end() ? std::nullopt : std::optional(job);
}

Clock::time_point DistantRaster::Loader::nextDue() const {
    const Clock::time_point now = Clock::now();
    Clock::time_point due = now + kLongestPause;
    if (!m_source) {
        return m_isOpening ? due : m_pausedUntil;
    }
    for (const Job& job : m_newestFirst) {
        if (!job.isRunning) {
            due = std::min(due, std::max(job.due, m_pausedUntil));
        }
    }
    return due;
}

void DistantRaster::Loader::fetch(JobPosition job, Lock& lock) {
    job->isRunning = true;
    const std::shared_ptr<RasterSource> source = m_source;
    PictureCache::Picture picture;
    picture.grid = job->grid;
    lock.unlock();
    CPLErrorReset();
    const Warped warped = warpImage(*source, picture.grid, picture.rgba);
    const std::string reason = warped == Warped::Unreadable ? lastError("cannot be read") : std::string();
    lock.lock();
    job->isRunning = false;
    if (warped == Warped::Unreadable) {
        noteFailure(*job, reason);
        m_newestFirst.splice(m_newestFirst.end(), m_newestFirst, job);
        if (!m_cacheOnly.empty() && !job->wasInCache) {
            fetchFromCache(job, lock);
        }
    } else {
        if (warped == Warped::Nothing) {
            picture.rgba.clear();
            picture.news = job->news;
        }
        noteAnswer(warped == Warped::Nothing);
        store(*job, std::move(picture));
        m_newestFirst.erase(job);
    }
    m_changed.notify_all();
}

// The job stays, to be asked from the server again.
void DistantRaster::Loader::fetchFromCache(JobPosition job, Lock& lock) {
    job->isRunning = true;
    const SampleGrid grid = job->grid;
    lock.unlock();
    std::optional<PictureCache::Picture> picture = readCache(grid);
    lock.lock();
    job->isRunning = false;
    job->wasInCache = true;
    if (picture) {
        noteWorthRefining();
        store(*job, std::move(*picture));
    }
}

// What the cache has of a picture that the server did not give.
std::optional<PictureCache::Picture> DistantRaster::Loader::readCache(const SampleGrid& grid) {
    std::shared_ptr<RasterSource> cache;
    {
        const std::lock_guard lock(m_mutex);
        cache = m_cache;
    }
    if (!cache && !m_cacheOnly.empty()) {
        Status status;
        cache = RasterSource::open(m_cacheOnly, status, RasterSource::Log::Nothing);
        const std::lock_guard lock(m_mutex);
        m_cache = cache;
    }
    PictureCache::Picture picture;
    picture.grid = grid;
    picture.isComplete = false;
    if (!cache || warpImage(*cache, grid, picture.rgba) != Warped::Something) {
        return std::nullopt;
    }
    return picture;
}

void DistantRaster::Loader::noteFailure(Job& job, const std::string& reason) {
    VSICurlClearCache();
    m_trouble = reason;
    ++job.failures;
    job.due = Clock::now() + pauseAfter(job.failures);
    m_failuresInARow += job.failures == 1 ? 1 : 0;
    if (m_pauses > 0 || m_failuresInARow >= kFailuresOfAServer) {
        m_pausedUntil = Clock::now() + pauseAfter(++m_pauses);
    }
}

void DistantRaster::Loader::noteAnswer(bool isEmpty) {
    m_trouble.clear();
    m_failuresInARow = 0;
    if (m_pauses > 0) { // all that failed meanwhile has a chance again
        m_pauses = 0;
        m_pausedUntil = Clock::time_point();
        for (Job& job : m_newestFirst) {
            job.due = Clock::time_point();
        }
    }
    m_hasDrawn = m_hasDrawn || !isEmpty;
    m_emptySince = isEmpty ? Clock::now() : m_emptySince;
    noteWorthRefining();
}

void DistantRaster::Loader::noteWorthRefining() {
    if (!m_hasAnswered.exchange(true)) {
        ++m_revision;
    }
}

void DistantRaster::Loader::store(Job& job, PictureCache::Picture picture) {
    for (const Job& other : m_newestFirst) {
        const PictureNews news = other.failures > 0 ? other.news.lock() : nullptr;
        if (news && !picture.rgba.empty() && standsInFor(picture.grid, other.grid)) {
            *news = true;
        }
    }
    m_pictures.insert(std::move(picture));
    if (const PictureNews news = job.news.lock()) {
        *news = true;
        ++m_arrivals;
    }
}

DistantRaster::DistantRaster(const std::string& location, Use use)
    : m_loader(std::make_shared<Loader>(location, use)) {
    m_loader->start();
}

DistantRaster::~DistantRaster() {
    m_loader->cancel();
}

bool DistantRaster::image(const SampleGrid& grid, std::vector<std::uint8_t>& rgba, const PictureNews& news) {
    return m_loader->image(grid, rgba, news);
}

std::shared_ptr<RasterSource> DistantRaster::raster() const {
    return m_loader->raster();
}

int DistantRaster::revision() const {
    return m_loader->revision();
}

bool DistantRaster::hasAnswered() const {
    return m_loader->hasAnswered();
}

int DistantRaster::arrivals() const {
    return m_loader->arrivals();
}

bool DistantRaster::isLoading() const {
    return m_loader->isLoading();
}

std::string DistantRaster::trouble() const {
    return m_loader->trouble();
}

} // namespace osgEarth
