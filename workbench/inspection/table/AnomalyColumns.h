#pragma once

#include "workbench/inspection/table/AnomalyRow.h"

#include <QString>

#include <array>
#include <optional>

namespace inspection {

/// A column of the table of anomalies: of figures, which have a number, or of words.
struct AnomalyColumn {
    /// As the model counts them. The user finds station and chainage behind the name at first.
    enum Place {
        Name,
        Kind,
        Area,
        Volume,
        MeanDifference,
        LargestDifference,
        Attribute,
        Suggested,
        PipeDistance,
        HighConsequenceAreas,
        Position,
        VolumeSigma,
        Sigma,
        LevelOfDetection,
        Significance,
        SuggestionConfidence,
        Station,
        Chainage,
        Count
    };
    using Row = const AnomalyRow&;

    QString title;
    QString (*text)(Row row);
    /// Sorted by it, to the right; nothing where it is not known. Null for words.
    std::optional<double> (*number)(Row row) = nullptr;
    /// The order of words; null for figures.
    bool (*isBefore)(Row left, Row right) = nullptr;
    QString toolTip; ///< of its head; empty for none
    /// Shown only when the user asks for it.
    bool isHiddenAtFirst = false;
    /// Its text says more than its number, also in files.
    bool isWrittenAsText = false;
    /// Brings what the row shows here, which takes a while the first time. Several rows may be measured at once. Null where
    /// it is at hand.
    void (*measure)(Row row) = nullptr;

    bool isFigure() const { return number != nullptr; }
};

const std::array<AnomalyColumn, AnomalyColumn::Count>& anomalyColumns();
/// `column` is one of AnomalyColumn::Place.
const AnomalyColumn& anomalyColumn(int column);

} // namespace inspection
