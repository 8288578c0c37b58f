#pragma once

#include "workbench/inspectiondata/output/InspectionData.h"
#include "workbench/inspectiondata/pictures/RasterPicture.h"
#include "workbench/inspectiondata/pipeline/Pipeline.h"

#include <QImage>
#include <QPainter>
#include <QPainterPath>
#include <QRectF>

namespace inspection {

/// A map drawn into a rectangle of a page: ground in a projected reference system, north up. What is drawn
/// stays within the rectangle. A value; each thread draws with a painter of its own.
class MapSheet {
public:
    /// `ground` (x, y of the lower left corner and size, metres) is enlarged about its middle to the shape of
    /// `page` (device units, y downwards).
    MapSheet(const QRectF& ground, const QRectF& page, double unitsPerMillimetre);

    const QRectF& ground() const { return m_ground; }
    const QRectF& page() const { return m_page; }
    /// From ground to device units; also beside the page.
    QPointF toPage(double x, double y) const;

    /// The window for a picture of `pixelsPerMillimetre` on paper.
    PictureWindow window(const QString& srs, double pixelsPerMillimetre) const;

    void drawPicture(QPainter& painter, const QImage& picture) const;
    void drawFrame(QPainter& painter) const;
    void drawPipeline(QPainter& painter, const Pipeline& pipeline, double widthMillimetres) const;
    /// A polygon as WKT in the ground's coordinates, with a white rim so that it shows on any picture. Corners
    /// that no pen could show are left out; the smallest outline still is a dot.
    void drawOutline(QPainter& painter, const std::string& wkt, const QColor& colour,
                     double widthMillimetres) const;
    /// Of a round length, up to three tenths of the width.
    void drawScaleBar(QPainter& painter, const QFont& font) const;
    void drawNorthArrow(QPainter& painter, const QFont& font) const;

private:
    double units(double millimetres) const { return millimetres * m_unitsPerMillimetre; }

    QRectF m_ground;
    QRectF m_page;
    double m_unitsPerMillimetre;
};

/// The epoch's orthophoto over `window`, or its relief when there is none; null when neither can be read.
QImage epochPicture(const Epoch& epoch, const PictureWindow& window);

} // namespace inspection
