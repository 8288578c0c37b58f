#include "Overviews.h"

#include "OverviewCache.h"

#include <gdal_priv.h>

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <deque>
#include <filesystem>
#include <mutex>
#include <thread>
#include <vector>

namespace osgEarth {
namespace fs = std::filesystem;
namespace {

constexpr const char* kMadeHere = "CORRIDOR_OVERVIEWS";
constexpr const char* kUnfinished = ".building-";
constexpr int kCoarsestCells = 256;
constexpr int kFinestInMemory = 2048;
constexpr std::uintmax_t kMostBytesKept = std::uintmax_t{20} << 30;

// Collects the first error of this thread instead of printing it.
class FirstError {
public:
    FirstError() { CPLPushErrorHandlerEx(&FirstError::note, this); }
    ~FirstError() { CPLPopErrorHandler(); }
    FirstError(const FirstError&) = delete;
    FirstError& operator=(const FirstError&) = delete;
    const std::string& text() const { return m_text; }

private:
    static void CPL_STDCALL note(CPLErr level, CPLErrorNum, const char* text) {
        auto& self = *static_cast<FirstError*>(CPLGetErrorHandlerUserData());
        if (level >= CE_Failure && self.m_text.empty()) {
            self.m_text = text;
        }
    }
    std::string m_text;
};

std::unique_ptr<GDALDataset> openRaster(const std::string& name, unsigned access = GDAL_OF_READONLY) {
    return std::unique_ptr<GDALDataset>(GDALDataset::Open(name.c_str(), GDAL_OF_RASTER | access));
}

void removeFiles(const std::string& vrt) {
    VSIUnlink((vrt + ".ovr").c_str());
    VSIUnlink(vrt.c_str());
}

// What a killed program left of its work, an hour after it last wrote.
void sweep(const fs::path& folder, const std::string& prefix) {
    std::error_code ignored;
    for (const auto& entry : fs::directory_iterator(folder, ignored)) {
        const std::string name = entry.path().filename().string();
        if (name.rfind(prefix, 0) == 0 && name.find(kUnfinished) != std::string::npos &&
            fs::file_time_type::clock::now() - entry.last_write_time(ignored) > std::chrono::hours(1)) {
            fs::remove(entry.path(), ignored);
        }
    }
}

// The one thread that builds, so that several large rasters do not fight over the disk. It may take a second
// or two to notice that its present work is not wanted any more; the program's end waits for that.
class Worker {
public:
    static Worker& instance() {
        static Worker worker;
        return worker;
    }
    void add(std::function<void()> work) {
        const std::lock_guard lock(m_mutex);
        m_waiting.push_back(std::move(work));
        m_changed.notify_one();
        if (!m_thread.joinable()) {
            m_thread = std::thread([this] { run(); });
        }
    }

private:
    Worker() = default;
    ~Worker() {
        {
            const std::lock_guard lock(m_mutex);
            m_isEnding = true;
            m_changed.notify_one();
        }
        if (m_thread.joinable()) {
            m_thread.join();
        }
    }
    void run() {
        std::unique_lock lock(m_mutex);
        while (!m_isEnding) {
            if (m_waiting.empty()) {
                m_changed.wait(lock);
                continue;
            }
            std::function<void()> work = std::move(m_waiting.front());
            m_waiting.pop_front();
            lock.unlock();
            work();
            work = nullptr;
            lock.lock();
        }
    }

    std::mutex m_mutex;
    std::condition_variable m_changed;
    std::deque<std::function<void()>> m_waiting;
    bool m_isEnding = false;
    std::thread m_thread;
};

} // namespace

// Shared by the builder and its thread, so that neither waits for the other.
class OverviewBuilder::Job {
public:
    Job(std::string openName, Finished finished)
        : m_openName(std::move(openName)), m_finished(std::move(finished)) {}

    void run();
    void cancel() {
        m_cancelled = true;
        const std::lock_guard lock(m_mutex); // a call that has begun is waited for
        m_finished = nullptr;
    }
    float progress() const { return m_progress; }

private:
    std::string buildBeside(GDALDataset& source);
    std::string buildInCache(GDALDataset& source);
    std::string buildInMemory(GDALDataset& source);
    bool build(GDALDataset& source, const std::string& vrt, bool inMemory);
    bool buildLevels(const std::string& vrt, bool inMemory);
    std::string temporaryName() const;

    const std::string m_openName;
    std::atomic<float> m_progress{0.0F};
    std::atomic<bool> m_cancelled{false};
    std::mutex m_mutex;
    Finished m_finished;
    std::string m_problem;
};

void OverviewBuilder::Job::run() {
    Result result;
    {
        const FirstError quiet;
        // Only the worker's thread sees these settings.
        CPLSetThreadLocalConfigOption("COMPRESS_OVERVIEW", "LZW");
        CPLSetThreadLocalConfigOption("INTERLEAVE_OVERVIEW", "PIXEL");
        CPLSetThreadLocalConfigOption("BIGTIFF_OVERVIEW", "IF_SAFER");
        const std::unique_ptr<GDALDataset> source = m_cancelled ? nullptr : openRaster(m_openName);
        if (source) {
            for (const auto place : {&Job::buildBeside, &Job::buildInCache, &Job::buildInMemory}) {
                result.openName = m_cancelled ? std::string() : (this->*place)(*source);
                if (!result.openName.empty()) {
                    result.inMemory = place == &Job::buildInMemory;
                    break;
                }
            }
        }
        result.problem = result.inMemory || result.openName.empty() ? m_problem : std::string();
    }
    const std::lock_guard lock(m_mutex);
    if (m_finished) {
        m_finished(result);
    } else if (result.inMemory) {
        removeFiles(result.openName);
    }
    m_progress = 1.0F;
}

std::string OverviewBuilder::Job::temporaryName() const {
    static std::atomic<int> counter{0};
    return kUnfinished + std::to_string(CPLGetCurrentProcessID()) + "-" + std::to_string(++counter) + ".vrt";
}

std::string OverviewBuilder::Job::buildBeside(GDALDataset& source) {
    std::error_code error;
    const std::string target = m_openName + ".ovr";
    if (!fs::is_regular_file(m_openName, error) || fs::exists(target, error)) {
        return {};
    }
    const fs::path file(m_openName);
    sweep(file.has_parent_path() ? file.parent_path() : fs::path("."), file.filename().string());
    const std::string vrt = m_openName + temporaryName();
    if (build(source, vrt, false)) {
        fs::rename(vrt + ".ovr", target, error);
        m_problem = error ? target + ": " + error.message() : std::string();
    }
    removeFiles(vrt);
    return m_problem.empty() && !m_cancelled ? m_openName : std::string();
}

std::string OverviewBuilder::Job::buildInCache(GDALDataset& source) {
    const fs::path folder = overviewCacheFolder();
    std::error_code error;
    fs::create_directories(folder, error);
    if (folder.empty() || error) {
        m_problem = "no cache folder";
        return {};
    }
    sweep(folder, "");
    m_problem.clear();
    const std::string target = (folder / overviewCacheName(m_openName, source)).string();
    const std::string vrt = target + temporaryName();
    if (build(source, vrt, false)) {
        // The last step makes it count.
        fs::rename(vrt + ".ovr", target + ".ovr", error);
        if (!error) {
            fs::rename(vrt, target, error);
        }
        m_problem = error ? target + ": " + error.message() : std::string();
    }
    removeFiles(vrt);
    trimOverviewCache(folder, kMostBytesKept);
    return m_problem.empty() && !m_cancelled ? target : std::string();
}

std::string OverviewBuilder::Job::buildInMemory(GDALDataset& source) {
    std::string vrt = "/vsimem/corridor_overviews" + temporaryName();
    const std::string problem = m_problem;
    if (build(source, vrt, true)) {
        m_problem = problem; // why it is only in memory
        return vrt;
    }
    removeFiles(vrt);
    return {};
}

// A virtual raster stands for the source, because GDAL builds overviews only beside the file that it has
// open.
bool OverviewBuilder::Job::build(GDALDataset& source, const std::string& vrt, bool inMemory) {
    const FirstError error;
    std::error_code unknown;
    const double cells = static_cast<double>(source.GetRasterXSize()) * source.GetRasterYSize();
    const double bytes = cells * source.GetRasterCount() *
                         GDALGetDataTypeSizeBytes(source.GetRasterBand(1)->GetRasterDataType()) / 3.0;
    const fs::space_info space = fs::space(fs::path(vrt).parent_path(), unknown);
    if (!inMemory && !unknown && static_cast<double>(space.available) < bytes) {
        m_problem = vrt.substr(0, vrt.rfind(kUnfinished)) + ": not enough room on the disk for overviews";
        return false;
    }
    GDALDriver* driver = GetGDALDriverManager()->GetDriverByName("VRT");
    const bool isBuilt = std::unique_ptr<GDALDataset>(
                             driver->CreateCopy(vrt.c_str(), &source, FALSE, nullptr, nullptr, nullptr)) &&
                         buildLevels(vrt, inMemory) && error.text().empty();
    if (!isBuilt) {
        m_problem = error.text().empty() ? "overviews cannot be built" : error.text();
    }
    return isBuilt;
}

bool OverviewBuilder::Job::buildLevels(const std::string& vrt, bool inMemory) {
    const auto report = [](double done, const char*, void* self) -> int {
        auto& job = *static_cast<Job*>(self);
        // The last step is that the receiver has them. A second attempt elsewhere does not count back.
        job.m_progress = std::max(job.m_progress.load(), static_cast<float>(0.99 * done));
        return job.m_cancelled ? FALSE : TRUE;
    };
    std::unique_ptr<GDALDataset> raster = openRaster(vrt);
    if (!raster) {
        return false;
    }
    GDALRasterBand& band = *raster->GetRasterBand(1);
    const int size = std::max(band.GetXSize(), band.GetYSize());
    std::vector<int> levels;
    for (int level = 2; size / level >= kCoarsestCells / 2; level *= 2) {
        if (!inMemory || size / level <= kFinestInMemory) {
            levels.push_back(level);
        }
    }
    const bool isFloating = GDALDataTypeIsFloating(band.GetRasterDataType()) != 0;
    CPLSetThreadLocalConfigOption("PREDICTOR_OVERVIEW", isFloating ? "3" : "2");
    const char* method = band.GetColorTable() ? "NEAREST" : "AVERAGE";
    if (raster->BuildOverviews(method, static_cast<int>(levels.size()), levels.data(), 0, nullptr, report,
                               this) != CE_None) {
        return false;
    }
    raster.reset(); // writes what is still in memory
    const std::unique_ptr<GDALDataset> built = openRaster(vrt + ".ovr", GDAL_OF_UPDATE);
    return built && built->SetMetadataItem(kMadeHere, "1") == CE_None;
}

OverviewBuilder::OverviewBuilder(const std::string& openName, Finished finished)
    : m_job(std::make_shared<Job>(openName, std::move(finished))) {
    Worker::instance().add([job = m_job] { job->run(); });
}

OverviewBuilder::~OverviewBuilder() {
    m_job->cancel();
}

float OverviewBuilder::progress() const {
    return m_job->progress();
}

std::string cachedOverviews(const std::string& openName, GDALDataset& dataset) {
    const fs::path folder = overviewCacheFolder();
    std::error_code unknown;
    const fs::path vrt = folder.empty() ? folder : folder / overviewCacheName(openName, dataset);
    if (folder.empty() || !fs::exists(vrt, unknown)) {
        return {};
    }
    noteUse(vrt);
    return vrt.string();
}

void removeOutdatedOverviews(const std::string& file) {
    const std::string overviews = file + ".ovr";
    std::error_code unknown;
    if (!fs::is_regular_file(file, unknown) || !fs::is_regular_file(overviews, unknown) ||
        fs::last_write_time(file, unknown) <= fs::last_write_time(overviews, unknown)) {
        return;
    }
    std::unique_ptr<GDALDataset> dataset = openRaster(overviews);
    const bool isOurs = dataset && dataset->GetMetadataItem(kMadeHere);
    dataset.reset();
    if (isOurs) {
        fs::remove(overviews, unknown);
    }
}

} // namespace osgEarth
