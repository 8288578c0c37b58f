#pragma once

#include "host/inspection/Station.h"

#include <QString>

#include <array>
#include <optional>

namespace inspection {

/// A column of the table of anomalies. What the record does not say by itself, the pipe's distance and the
/// high-consequence areas, has neither text nor order here.
struct AnomalyColumn {
    /// In the order in which they are shown.
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
        Count
    };

    QString title;
    bool isFigure;
    QString (*text)(const SdiffData& anomaly);
    bool (*isBefore)(const SdiffData& left, const SdiffData& right);
    QString toolTip;                                          ///< of its head; empty for none
    std::optional<double> SdiffData::* uncertainty = nullptr; ///< the figure that it shows, where it may lack

    /// Shown only when the user asks for it.
    bool isHiddenAtFirst() const { return uncertainty != nullptr; }
};

const std::array<AnomalyColumn, AnomalyColumn::Count>& anomalyColumns();

} // namespace inspection
