#pragma once

#include "workbench/inspectiondata/output/AnomalySheet.h"

#include <QFuture>
#include <QThreadPool>

#include <deque>
#include <vector>

namespace inspection {

/// The pictures of many anomalies, one after the other. They are made on threads of its own, a few ahead of
/// the one that is asked for, so that memory does not grow with their number.
class PicturesAhead {
public:
    /// `data` and `anomalies` have to outlive it.
    PicturesAhead(const InspectionData& data, const std::vector<AnomalyFacts>& anomalies, int pixels);
    ~PicturesAhead();
    PicturesAhead(const PicturesAhead&) = delete;
    PicturesAhead& operator=(const PicturesAhead&) = delete;

    /// Waits for the pictures of the next anomaly. Not to be called more often than there are anomalies.
    AnomalyPictures next();

private:
    void requestNext();

    const InspectionData& m_data;
    const std::vector<AnomalyFacts>& m_anomalies;
    int m_pixels;
    std::size_t m_requested = 0;
    QThreadPool m_pool;
    std::deque<QFuture<AnomalyPictures>> m_ahead;
};

} // namespace inspection
