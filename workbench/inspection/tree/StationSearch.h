#pragma once

#include <QString>
#include <QStringList>

class KV_Station;

namespace inspection {

/// Words that a station or special object must have in its name, each of them, in capitals or not. For a station a word may
/// be a chainage instead: "K12+300" finds the station that has it, "K12+3" those between K12+300 and K12+400, "K12" or "12+"
/// those of the whole kilometre.
class StationSearch {
public:
    explicit StationSearch(const QString& words);

    bool finds(const QString& name) const;
    bool finds(const QString& name, const KV_Station& station) const;

private:
    QStringList m_words;
};

} // namespace inspection
