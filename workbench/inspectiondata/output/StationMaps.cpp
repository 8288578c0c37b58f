#include "workbench/inspectiondata/output/StationMaps.h"

#include "host/Gbk.h"
#include "workbench/inspectiondata/output/MapSheet.h"

#include <algorithm>
#include <cmath>

namespace inspection {

namespace {

constexpr double kGap = 4.0;
constexpr double kCaption = 6.0;
constexpr double kPixelsPerMillimetre = 8.0;
constexpr double kHeading = 11.0;
constexpr double kSpace = ReportCanvas::kBottom - ReportCanvas::kTop - kHeading;

QRectF groundOf(const KV_Station& station) {
    return {station.m_xMin, station.m_yMin, station.m_xMax - station.m_xMin, station.m_yMax - station.m_yMin};
}

} // namespace

StationMaps::StationMaps(const InspectionData& data, const Pipeline& pipeline)
    : m_data(data), m_pipeline(pipeline) {
    double highest = 0.0; // largest height over width
    for (const StationFindings& findings : data.stations) {
        if (!findings.anomalies.empty()) {
            m_stations.push_back(&findings);
            const QRectF ground = groundOf(findings.station);
            highest = std::max(highest, ground.height() / ground.width());
        }
    }
    m_columns = highest > 1.4 ? 3 : highest > 0.6 ? 2 : 1;
    const double width = (ReportCanvas::kWidth - kGap * (m_columns - 1)) / m_columns;
    const double wanted = width * highest + kCaption + kGap;
    m_rows = std::max(1, static_cast<int>(std::lround(kSpace / std::max(40.0, wanted))));
}

int StationMaps::pages() const {
    return (static_cast<int>(m_stations.size()) + mapsPerPage() - 1) / mapsPerPage();
}

void StationMaps::draw(ReportCanvas& canvas, const std::function<void()>& nextPage) const {
    const double width = (ReportCanvas::kWidth - kGap * (m_columns - 1)) / m_columns;
    const double height = kSpace / m_rows - kCaption - kGap;
    for (std::size_t i = 0; i < m_stations.size(); ++i) {
        const int place = static_cast<int>(i) % mapsPerPage();
        if (place == 0) {
            nextPage();
            canvas.heading(ReportCanvas::kTop, QStringLiteral("站段平面图"));
        }
        const int column = place % m_columns;
        const int row = place / m_columns;
        const double x = ReportCanvas::kMargin + column * (width + kGap);
        const double y = ReportCanvas::kTop + kHeading + row * (height + kCaption + kGap);
        drawMap(canvas, {x, y, width, height}, *m_stations[i]);
    }
}

void StationMaps::drawMap(ReportCanvas& canvas, const QRectF& box, const StationFindings& findings) const {
    const KV_Station& station = findings.station;
    canvas.text({box.left(), box.top(), box.width(), kCaption},
                QStringLiteral("%1 号　%2　异常 %3 处")
                    .arg(station.m_id)
                    .arg(fromGbk(station.m_name))
                    .arg(findings.anomalies.size()),
                8.5, Qt::AlignLeft | Qt::AlignVCenter, ReportCanvas::kInk, true);
    const QRectF map = box.translated(0.0, kCaption);
    const MapSheet sheet(groundOf(station), canvas.device(map), canvas.unitsPerMillimetre());
    QPainter& painter = canvas.painter();
    canvas.fill(map, ReportCanvas::kTint);
    sheet.drawPicture(
        painter, epochPicture(m_data.project.newEpoch(),
                              sheet.window(QString::fromStdString(station.m_srs), kPixelsPerMillimetre)));
    sheet.drawPipeline(painter, m_pipeline, 0.4);
    for (const SdiffData& anomaly : findings.anomalies) {
        const ProjectParameters& parameters = m_data.project.parameters;
        sheet.drawOutline(painter, anomaly.outlineWkt,
                          anomaly.isFill ? parameters.fillColour : parameters.cutColour, 0.35);
    }
    drawNames(canvas, sheet, findings);
    sheet.drawScaleBar(painter, canvas.font(6.0));
    sheet.drawNorthArrow(painter, canvas.font(6.0));
    sheet.drawFrame(painter);
}

void StationMaps::drawNames(ReportCanvas& canvas, const MapSheet& sheet,
                            const StationFindings& findings) const {
    QPainter& painter = canvas.painter();
    const double millimetre = canvas.unitsPerMillimetre();
    const QSizeF plateSize(13.0 * millimetre, 3.4 * millimetre);
    painter.setFont(canvas.font(6.0));
    std::vector<QRectF> taken;
    for (const SdiffData& anomaly : findings.anomalies) {
        const QPointF corner = sheet.toPage(anomaly.xMax, anomaly.yMax);
        QRectF plate(corner + QPointF(0.6, -3.6) * millimetre, plateSize);
        // Within the map, and below the names that are already there.
        plate.moveRight(std::min(plate.right(), sheet.page().right()));
        plate.moveTop(std::max(plate.top(), sheet.page().top()));
        for (const QRectF& other : taken) {
            if (plate.intersects(other)) {
                plate.moveTop(other.bottom() + 0.3 * millimetre);
            }
        }
        taken.push_back(plate);
        painter.fillRect(plate, QColor(255, 255, 255, 215));
        painter.setPen(ReportCanvas::kInk);
        painter.drawText(plate, Qt::AlignCenter, fromGbk(anomaly.name));
    }
}

} // namespace inspection
