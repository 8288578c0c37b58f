#include "cloud/PointStream.h"

#include <utility>

namespace cloud {

PointStream::PointStream(const Survey& survey) : m_survey(survey) {
    readAhead();
}

PointStream::~PointStream() = default; // a future of std::async waits

void PointStream::readAhead() {
    m_ahead = std::async(std::launch::async, [this] { return read(); });
}

Status PointStream::next(std::vector<CloudPoint>& points) {
    Batch batch = m_ahead.get();
    m_spare = std::exchange(points, std::move(batch.points));
    if (batch.done && !points.empty()) {
        readAhead();
    } else {
        m_ahead = std::async(std::launch::deferred, [] { return Batch(); });
    }
    return batch.done;
}

PointStream::Batch PointStream::read() {
    Batch batch;
    batch.points = std::move(m_spare);
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
