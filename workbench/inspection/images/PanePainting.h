#pragma once

#include "workbench/inspection/images/GroundPicture.h"

#include <QPainterPath>
#include <QRect>
#include <QString>
#include <QTransform>

class QPainter;

/// What panes that show a piece of ground draw. `toPane` maps ground coordinates (metres, y north) to pixels.
/// GUI thread.
namespace inspection {

/// Fills `area` with the part of the picture that falls into it.
void paintGround(QPainter& painter, const GroundPicture& picture, const QTransform& toPane,
                 const QRect& area);
/// Says in `area` why there is no picture.
void paintReason(QPainter& painter, const GroundPicture& picture, const QRect& area);
/// A title on a dark plate in the upper left or upper right corner of `area`; left out where it has no room.
void paintTitlePlate(QPainter& painter, const QString& title, const QRect& area, Qt::Alignment side);

void paintPipeline(QPainter& painter, const QPainterPath& ground, const QTransform& toPane);
void paintOutline(QPainter& painter, const QPainterPath& ground, const QTransform& toPane);
/// The line of the profile with a grip at either end, A and B; `highlighted` while it can be dragged from
/// where the pointer is.
void paintProfileLine(QPainter& painter, const QLineF& ground, const QTransform& toPane, bool highlighted);
/// One end of the profile's line, centred at `at`.
void paintGrip(QPainter& painter, const QPointF& at, const QString& letter, bool highlighted);
/// A bar in the lower left corner of `area`; left out where it has no room.
void paintScaleBar(QPainter& painter, const QTransform& toPane, const QRect& area);
void paintCrosshair(QPainter& painter, const QPointF& at);

} // namespace inspection
