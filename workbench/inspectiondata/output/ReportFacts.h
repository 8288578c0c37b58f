#pragma once

#include "workbench/inspectiondata/output/InspectionData.h"
#include "workbench/inspectiondata/pipeline/Surroundings.h"

#include <QString>
#include <QStringList>

#include <vector>

namespace inspection {

struct NamedFact {
    QString name;
    QString value;
};

/// The anomalies of one class: the inspector's verdict, or the suggestion while there is none.
struct ClassTotal {
    QString name;
    int count = 0;
    int judged = 0; ///< of them with a verdict
    double areaSquareMetres = 0.0;
    double fillCubicMetres = 0.0;
    double cutCubicMetres = 0.0;
};

/// One anomaly as the report tells of it. The pointers are into the InspectionData.
struct AnomalyFacts {
    const StationFindings* findings = nullptr; ///< of its station
    const SdiffData* anomaly = nullptr;
    QString name;
    QString className; ///< verdict, or suggestion
    bool judged = false;
    Surroundings surroundings;
    QStringList row; ///< cells of the table of anomalies, see ReportFacts::columns
};

/// A column of the table of anomalies.
struct ReportColumn {
    QString title;
    double widthMillimetres;
    bool number;
};

/// The texts of a report, whatever format it is written in. Refers to the InspectionData it was made of.
struct ReportFacts {
    QString title;
    QString projectName;
    QString period; ///< "2024-05-18 至 2025-05-20"
    QString summary;
    std::vector<NamedFact> project;
    std::vector<NamedFact> method;
    std::vector<ClassTotal> classes;     ///< no class twice
    std::vector<AnomalyFacts> anomalies; ///< along the pipe

    /// The columns of the table of anomalies.
    enum Column {
        Name,
        Chainage,
        PipeDistance,
        Longitude,
        Latitude,
        Kind,
        Area,
        Volume,
        MeanDifference,
        ExtremeDifference,
        Suggested,
        Attribute,
        HighConsequenceAreas
    };
    INSPECTIONDATA_API static const std::vector<ReportColumn>& columns();
};

/// Without a centre line the anomalies are in the order of the stations. `data` must outlive the facts;
/// `pipeline` need not. Any thread.
INSPECTIONDATA_API ReportFacts reportFacts(const InspectionData& data, const Pipeline& pipeline);

/// The date of an epoch; `otherwise` where it is not known.
QString epochTitle(const Epoch& epoch, const QString& otherwise);

} // namespace inspection
