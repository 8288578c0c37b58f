#include "workbench/inspection/tree/StationSearch.h"

#include "host/inspection/Station.h"

#include <QRegularExpression>

#include <algorithm>
#include <cmath>

namespace inspection {

namespace {

/// Whether the word is a chainage in the station; one with fewer digits stands for all that begin so.
bool isChainageIn(const QString& word, const KV_Station& station) {
    static const QRegularExpression form(QStringLiteral("^(?:[Kk](\\d{1,5})|[Kk]?(\\d{1,5})\\+(\\d{0,3}))$"));
    const QRegularExpressionMatch match = form.match(word);
    if (!match.hasMatch()) {
        return false;
    }
    constexpr int kDigits = 3; // of the metres within a kilometre
    const QString kilometres = match.captured(1) + match.captured(2);
    const QString metres = match.captured(3);
    const double step = std::pow(10.0, kDigits - metres.size());
    const double from = kilometres.toDouble() * 1000.0 + metres.toDouble() * step;
    return metres.size() == kDigits ? station.m_startMetres <= from && from <= station.m_endMetres
                                    : station.m_startMetres < from + step && from < station.m_endMetres;
}

} // namespace

StationSearch::StationSearch(const QString& words) : m_words(words.split(' ', Qt::SkipEmptyParts)) {}

bool StationSearch::finds(const QString& name) const {
    return std::all_of(m_words.begin(), m_words.end(),
                       [&](const QString& word) { return name.contains(word, Qt::CaseInsensitive); });
}

bool StationSearch::finds(const QString& name, const KV_Station& station) const {
    return std::all_of(m_words.begin(), m_words.end(), [&](const QString& word) {
        return name.contains(word, Qt::CaseInsensitive) || isChainageIn(word, station);
    });
}

} // namespace inspection
