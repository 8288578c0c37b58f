#pragma once

#include "cloud/PointReader.h"
#include "cloud/Survey.h"

#include <condition_variable>
#include <deque>
#include <mutex>
#include <thread>

namespace cloud {

/// The points of all files of a survey, one batch after the other. They are read on a thread of its own, some batches
/// ahead, so that neither side waits for the other at every batch.
class PointStream {
public:
    /// `survey` must outlive it.
    explicit PointStream(const Survey& survey);
    /// Waits for the batch that is being read.
    ~PointStream();
    PointStream(const PointStream&) = delete;
    PointStream& operator=(const PointStream&) = delete;

    /// Replaces `points` by the next ones, by none at the end.
    Status next(std::vector<CloudPoint>& points);

private:
    struct Batch {
        std::vector<CloudPoint> points;
        Status done;

        bool isLast() const { return !done || points.empty(); }
    };
    void readAll();
    Batch readOrFail(std::vector<CloudPoint> buffer);
    Batch read(std::vector<CloudPoint> buffer);

    const Survey& m_survey;
    std::size_t m_nextFile = 0; ///< of the reading thread, as is the reader
    std::unique_ptr<PointReader> m_reader;

    std::mutex m_mutex; ///< for all below
    std::condition_variable m_isChanged;
    std::deque<Batch> m_ready;
    std::vector<std::vector<CloudPoint>> m_spare;
    bool m_isLeft = false;
    std::thread m_thread;
};

} // namespace cloud
