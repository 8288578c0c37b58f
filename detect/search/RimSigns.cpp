#include "detect/search/RimSigns.h"

namespace detect {

namespace {

/// Nine cells' median reaches what five of them reach.
constexpr std::int8_t kMiddle = 5;
constexpr std::int8_t kMissing = -10;

/// Bytes may lie over anything, so that only plain pointers let the compiler take many at once.
void addUp(const std::vector<std::int8_t>& first, const std::vector<std::int8_t>& second,
           const std::vector<std::int8_t>& third, std::vector<std::int8_t>& all) {
    const std::size_t count = first.size();
    all.resize(count);
    const std::int8_t* const a = first.data();
    const std::int8_t* const b = second.data();
    const std::int8_t* const c = third.data();
    std::int8_t* const sums = all.data();
    for (std::size_t i = 0; i < count; ++i) {
        sums[i] = static_cast<std::int8_t>(a[i] + b[i] + c[i]);
    }
}

} // namespace

const std::int8_t* RimSigns::of(const float* rows, std::size_t width, int row, std::size_t begin,
                                std::size_t columns) {
    const std::size_t count = columns + 2;
    for (int other = row == m_nextRow ? row + 1 : row - 1; other <= row + 1; ++other) {
        const float* dz = rows + static_cast<std::size_t>(other) * width + begin - 1;
        mark(dz, count, m_marks[static_cast<std::size_t>(other % 3)]);
    }
    m_nextRow = row + 1;
    addUp(m_marks[0].risen, m_marks[1].risen, m_marks[2].risen, m_sums.risen);
    addUp(m_marks[0].fallen, m_marks[1].fallen, m_marks[2].fallen, m_sums.fallen);
    m_signs.resize(columns);
    const std::int8_t* const risen = m_sums.risen.data();
    const std::int8_t* const fallen = m_sums.fallen.data();
    std::int8_t* const signs = m_signs.data();
    for (std::size_t i = 0; i < columns; ++i) {
        const auto up = static_cast<std::int8_t>(risen[i] + risen[i + 1] + risen[i + 2]);
        const auto down = static_cast<std::int8_t>(fallen[i] + fallen[i + 1] + fallen[i + 2]);
        signs[i] = static_cast<std::int8_t>((up >= kMiddle ? 1 : 0) - (down >= kMiddle ? 1 : 0));
    }
    return signs;
}

void RimSigns::mark(const float* dz, std::size_t count, Marks& marks) const {
    marks.risen.resize(count);
    marks.fallen.resize(count);
    std::int8_t* const risen = marks.risen.data();
    std::int8_t* const fallen = marks.fallen.data();
    const float needed = m_needed;
    for (std::size_t i = 0; i < count; ++i) {
        const int missing = dz[i] == dz[i] ? 0 : kMissing;
        risen[i] = static_cast<std::int8_t>(static_cast<int>(dz[i] >= needed) + missing);
        fallen[i] = static_cast<std::int8_t>(static_cast<int>(dz[i] <= -needed) + missing);
    }
}

} // namespace detect
