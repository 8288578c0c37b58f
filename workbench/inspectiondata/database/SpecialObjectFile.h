#pragma once

#include "host/Export.h"
#include "host/inspection/Records.h"
#include "workbench/inspectiondata/database/SpecialObjectNames.h"
#include "workbench/inspectiondata/project/Result.h"

#include <QStringList>

#include <functional>
#include <memory>
#include <vector>

/// Special objects in vector files of any format that GDAL reads. docs/data-model.md tells which columns
/// count and which rows are refused.
namespace inspection {

struct SpecialObjectFile {
    QString path;
    KV_ObjectType type = KV_SPECIAL_AREA; ///< point, area or high-consequence area
    QString crs;                          ///< of layers that name no reference system
    QString layer;                        ///< the only one to read; all that fit when empty
};

/// What a file gave.
struct SpecialObjectRows {
    std::vector<std::unique_ptr<KV_BasicNode>> records; ///< with names that are unique in the project
    QStringList refusals; ///< a Chinese line for each refused row: file, layer, FID, cause
    QStringList notes;    ///< what else the user should know, Chinese lines
};

/// "高后果区", "特殊面" or "特殊点".
INSPECTIONDATA_API QString specialObjectTitle(KV_ObjectType type);

/// What the objects of a file most likely are, by the kind of its geometries and its name.
INSPECTIONDATA_API KV_ObjectType likelyType(const QString& file);

/// Told how much is done, 0..1; false ends the work.
using SpecialObjectProgress = std::function<bool(double fraction)>;

/// Reads the rows of every fitting layer. A row is taken whole or not at all: a part that is refused, or
/// whose name is taken, refuses the row. Rows without a name are given one after all others. Fails when the
/// file or its layers cannot be read, or on the user's stop.
Result<SpecialObjectRows> readSpecialObjects(const SpecialObjectFile& file, SpecialObjectNames names,
                                             const SpecialObjectProgress& progress);

} // namespace inspection
