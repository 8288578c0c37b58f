#include "cloud/PointStream.h"

#include <utility>

namespace cloud {

namespace {

constexpr std::size_t kBatchesAhead = 4;

} // namespace

PointStream::PointStream(const Survey& survey) : m_survey(survey) {
    m_thread = std::thread([this] { readAll(); });
}

PointStream::~PointStream() {
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_isLeft = true;
    }
    m_isChanged.notify_all();
    m_thread.join();
}

Status PointStream::next(std::vector<CloudPoint>& points) {
    std::unique_lock<std::mutex> lock(m_mutex);
    m_isChanged.wait(lock, [this] { return !m_ready.empty(); });
    m_spare.push_back(std::move(points));
    points = std::move(m_ready.front().points);
    Status done = m_ready.front().done;
    if (done && !points.empty()) { // the last one stays for who asks again
        m_ready.pop_front();
        lock.unlock();
        m_isChanged.notify_all();
    }
    return done;
}

void PointStream::readAll() {
    for (bool isLast = false; !isLast;) {
        std::vector<CloudPoint> buffer;
        {
            std::unique_lock<std::mutex> lock(m_mutex);
            m_isChanged.wait(lock, [this] { return m_isLeft || m_ready.size() < kBatchesAhead; });
            if (m_isLeft) {
                return;
            }
            if (!m_spare.empty()) {
                buffer = std::move(m_spare.back());
                m_spare.pop_back();
            }
        }
        Batch batch = readOrFail(std::move(buffer));
        isLast = batch.isLast();
        {
            const std::lock_guard<std::mutex> lock(m_mutex);
            m_ready.push_back(std::move(batch));
        }
        m_isChanged.notify_all();
    }
}

/// Memory may run out; whoever waits for the next points must hear of it.
PointStream::Batch PointStream::readOrFail(std::vector<CloudPoint> buffer) {
    try {
        return read(std::move(buffer));
    } catch (const std::exception& error) {
        Batch batch;
        batch.done = detect::Unexpected(detect::Failure{std::string("读取点云失败：") + error.what()});
        return batch;
    }
}

PointStream::Batch PointStream::read(std::vector<CloudPoint> buffer) {
    Batch batch;
    batch.points = std::move(buffer);
    batch.points.clear();
    while (batch.points.empty() && batch.done) {
        if (!m_reader) {
            if (m_nextFile == m_survey.files.size()) {
                return batch;
            }
            const CloudFile& file = m_survey.files[m_nextFile++];
            auto reader = openPoints(file.path, file.header);
            if (!reader) {
                batch.done = detect::failed(reader);
                return batch;
            }
            m_reader = *std::move(reader);
        }
        batch.done = m_reader->next(batch.points);
        if (batch.points.empty()) {
            m_reader.reset();
        }
    }
    return batch;
}

} // namespace cloud
