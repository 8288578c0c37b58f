#include "workbench/inspectiondata/output/PicturesAhead.h"

#include <QtConcurrentRun>

namespace inspection {

PicturesAhead::PicturesAhead(const InspectionData& data, const std::vector<AnomalyFacts>& anomalies,
                             int pixels)
    : m_data(data), m_anomalies(anomalies), m_pixels(pixels) {
    for (int i = 0; i <= m_pool.maxThreadCount(); ++i) {
        requestNext();
    }
}

PicturesAhead::~PicturesAhead() {
    m_pool.clear(); // what has not begun is not wanted any more
    m_pool.waitForDone();
}

AnomalyPictures PicturesAhead::next() {
    AnomalyPictures pictures = m_ahead.front().takeResult();
    m_ahead.pop_front();
    requestNext();
    return pictures;
}

void PicturesAhead::requestNext() {
    if (m_requested == m_anomalies.size()) {
        return;
    }
    const AnomalyFacts& facts = m_anomalies[m_requested++];
    m_ahead.push_back(
        QtConcurrent::run(&m_pool, [this, &facts] { return anomalyPictures(m_data, facts, m_pixels); }));
}

} // namespace inspection
