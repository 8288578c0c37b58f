#pragma once

#include "host/Export.h"
#include "workbench/inspectiondata/pipeline/Pipeline.h"

#include <QPainterPath>
#include <QRectF>
#include <QString>

namespace inspection {

/// The centre line in the reference system `srs`, as far as it comes near `ground` (metres of that system); empty where
/// it does not, or where it has no place there. Any thread.
INSPECTIONDATA_API QPainterPath pipelinePath(const Pipeline& pipeline, const QString& srs,
                                             const QRectF& ground);

} // namespace inspection
