#pragma once

#include "cloud/PointReader.h"
#include "cloud/Survey.h"

#include <future>

namespace cloud {

/// The points of all files of a survey, one batch after the other; the next one is read on a thread of its own
/// while the caller works on the last.
class PointStream {
public:
    /// `survey` must outlive it.
    explicit PointStream(const Survey& survey);
    /// Waits for what is being read.
    ~PointStream();
    PointStream(const PointStream&) = delete;
    PointStream& operator=(const PointStream&) = delete;

    /// Fills `points` with the next ones, none at the end.
    Status next(std::vector<CloudPoint>& points);

private:
    struct Batch {
        std::vector<CloudPoint> points;
        Status done;
    };
    Batch read();
    void readAhead();

    const Survey& m_survey;
    std::size_t m_nextFile = 0;
    std::unique_ptr<PointReader> m_reader;
    std::vector<CloudPoint> m_spare;
    std::future<Batch> m_ahead;
};

} // namespace cloud
