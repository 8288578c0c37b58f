#include "workbench/inspectiondata/output/AnomalySheet.h"

#include "host/Gbk.h"
#include "workbench/inspectiondata/output/MapSheet.h"
#include "workbench/inspectiondata/text/AnomalyTexts.h"

#include <QLinearGradient>

#include <algorithm>
#include <cmath>

namespace inspection {

namespace {

constexpr double kPicture = 58.0;
constexpr double kGap = 4.0;
constexpr double kSmallestViewMetres = 20.0;
constexpr double kSurroundings = 1.9; ///< side of the view in sides of the anomaly

QRectF viewOf(const SdiffData& anomaly) {
    const double extent = std::max(anomaly.xMax - anomaly.xMin, anomaly.yMax - anomaly.yMin);
    const double side = std::max(kSmallestViewMetres, extent * kSurroundings);
    return {(anomaly.xMin + anomaly.xMax - side) / 2.0, (anomaly.yMin + anomaly.yMax - side) / 2.0, side,
            side};
}

DifferenceRamp rampOf(const InspectionData& data, const SdiffData& anomaly) {
    const double largest = std::max(std::abs(anomaly.dzMinMetres), std::abs(anomaly.dzMaxMetres));
    const ProjectParameters& parameters = data.project.parameters;
    return {parameters.fillColour, parameters.cutColour, std::max(0.5, std::ceil(largest * 2.0) / 2.0),
            parameters.thresholdMetres / 4.0};
}

/// Relief of the new epoch; `after` is it already where there is no orthophoto.
QImage reliefAfter(const Epoch& epoch, const PictureWindow& window, const QImage& after) {
    if (epoch.dom.isEmpty()) {
        return after;
    }
    return reliefPicture(epoch.dsm, window).value_or(QImage());
}

QImage differenceOverRelief(const InspectionData& data, const AnomalyFacts& facts,
                            const PictureWindow& window, const DifferenceRamp& ramp, const QImage& relief) {
    QImage picture(window.width, window.height, QImage::Format_RGB32);
    picture.fill(Qt::white);
    QPainter painter(&picture);
    painter.setOpacity(0.55);
    painter.drawImage(0, 0, relief);
    painter.setOpacity(1.0);
    if (facts.findings->result && !facts.findings->result->dzRaster.isEmpty()) {
        const QString file = data.project.resultFile(facts.findings->result->dzRaster);
        if (const auto difference = differencePicture(file, window, ramp)) {
            painter.drawImage(0, 0, *difference);
        }
    }
    return picture;
}

void drawLegend(ReportCanvas& canvas, const QRectF& picture, const DifferenceRamp& ramp) {
    const QRectF plate(picture.right() - 13.0, picture.top() + 1.2, 11.8, 31.0);
    canvas.fill(plate, QColor(255, 255, 255, 215));
    const QRectF bar(plate.left() + 1.2, plate.top() + 2.0, 2.6, plate.height() - 4.0);
    constexpr int kSteps = 54;
    for (int step = 0; step < kSteps; ++step) {
        const double dz = ramp.fullMetres * (1.0 - 2.0 * (step + 0.5) / kSteps);
        const double height = bar.height() / kSteps;
        canvas.fill({bar.left(), bar.top() + step * height, bar.width(), height * 1.05},
                    differenceColour(ramp, dz));
    }
    const auto label = [&](double y, const QString& text) {
        canvas.text({bar.right() + 0.8, y - 2.0, 8.0, 4.0}, text, 6.5);
    };
    const QString full = QString::number(ramp.fullMetres, 'f', 1);
    label(bar.top(), '+' + full);
    label(bar.center().y(), QStringLiteral("0"));
    label(bar.bottom(), QStringLiteral("−") + full);
}

void drawTitle(ReportCanvas& canvas, double y, const AnomalyFacts& facts) {
    const double left = ReportCanvas::kMargin;
    canvas.fill({left, y, ReportCanvas::kWidth, 7.0}, ReportCanvas::kTint);
    canvas.fill({left, y, 1.6, 7.0}, facts.judged ? ReportCanvas::kAccent : QColor(230, 120, 0));
    canvas.text({left + 4.0, y, 30.0, 7.0}, facts.name, 10.5, Qt::AlignLeft | Qt::AlignVCenter,
                ReportCanvas::kInk, true);
    canvas.text({left + 34.0, y, 60.0, 7.0},
                facts.className + (facts.judged ? "（已核查）" : "（建议，待核查）"), 9.5);
    const QString place = fromGbk(facts.findings->station.m_name);
    canvas.text({left + 94.0, y, ReportCanvas::kWidth - 96.0, 7.0}, QStringLiteral("站段 ") + place, 9.0,
                Qt::AlignRight | Qt::AlignVCenter, ReportCanvas::kQuiet);
}

void drawFigures(ReportCanvas& canvas, double y, const AnomalyFacts& facts) {
    const QStringList& row = facts.row;
    QString first = QStringLiteral("里程 %1").arg(row[ReportFacts::Chainage]);
    if (facts.surroundings.pipeMetres) {
        first += QStringLiteral("    距管线 %1 m").arg(row[ReportFacts::PipeDistance]);
    }
    first +=
        QStringLiteral("    位置 %1°E %2°N").arg(row[ReportFacts::Longitude], row[ReportFacts::Latitude]);
    if (!facts.surroundings.highConsequenceAreas.empty()) {
        first += QStringLiteral("    高后果区 ") + areaNamesText(facts.surroundings.highConsequenceAreas);
    }
    const QString second =
        QStringLiteral("%1    面积 %2 m²    体积 %3 m³    平均 dZ %4 m    极值 dZ %5 m")
            .arg(kindText(*facts.anomaly), row[ReportFacts::Area], row[ReportFacts::Volume],
                 row[ReportFacts::MeanDifference], row[ReportFacts::ExtremeDifference]);
    const QRectF line(ReportCanvas::kMargin, y, ReportCanvas::kWidth, 4.4);
    const QFontMetricsF metrics(canvas.font(8.0), canvas.painter().device());
    canvas.text(line, metrics.elidedText(first, Qt::ElideRight, canvas.device(line).width()), 8.0);
    canvas.text({ReportCanvas::kMargin, y + 4.2, ReportCanvas::kWidth, 4.4}, second, 8.0);
}

} // namespace

AnomalyPictures anomalyPictures(const InspectionData& data, const AnomalyFacts& facts, int pixels) {
    AnomalyPictures pictures;
    pictures.ground = viewOf(*facts.anomaly);
    pictures.ramp = rampOf(data, *facts.anomaly);
    const QRectF& ground = pictures.ground;
    const PictureWindow window{QString::fromStdString(facts.findings->station.m_srs),
                               ground.left(),
                               ground.top(),
                               ground.right(),
                               ground.bottom(),
                               pixels,
                               pixels};
    pictures.before = epochPicture(data.project.oldEpoch(), window);
    pictures.after = epochPicture(data.project.newEpoch(), window);
    pictures.difference = differenceOverRelief(data, facts, window, pictures.ramp,
                                               reliefAfter(data.project.newEpoch(), window, pictures.after));
    return pictures;
}

void drawAnomaly(ReportCanvas& canvas, double y, const InspectionData& data, const AnomalyFacts& facts,
                 const AnomalyPictures& pictures) {
    drawTitle(canvas, y, facts);
    struct Panel {
        QString caption;
        const QImage& picture;
        QColor outline;
    };
    const Panel panels[] = {
        {QStringLiteral("前期 ") + epochTitle(data.project.oldEpoch(), {}), pictures.before,
         QColor(255, 214, 10)},
        {QStringLiteral("后期 ") + epochTitle(data.project.newEpoch(), {}), pictures.after,
         QColor(255, 214, 10)},
        {QStringLiteral("高差 dZ = 后期 − 前期（m）"), pictures.difference, ReportCanvas::kInk}};
    double x = ReportCanvas::kMargin;
    for (const Panel& panel : panels) {
        canvas.text({x, y + 7.4, kPicture, 4.6}, panel.caption, 8.0, Qt::AlignLeft | Qt::AlignVCenter,
                    ReportCanvas::kQuiet);
        const QRectF box(x, y + 12.0, kPicture, kPicture);
        const MapSheet sheet(pictures.ground, canvas.device(box), canvas.unitsPerMillimetre());
        sheet.drawPicture(canvas.painter(), panel.picture);
        sheet.drawOutline(canvas.painter(), facts.anomaly->outlineWkt, panel.outline, 0.3);
        sheet.drawScaleBar(canvas.painter(), canvas.font(6.5));
        sheet.drawFrame(canvas.painter());
        x += kPicture + kGap;
    }
    drawLegend(canvas, {ReportCanvas::kMargin + 2.0 * (kPicture + kGap), y + 12.0, kPicture, kPicture},
               pictures.ramp);
    drawFigures(canvas, y + 12.0 + kPicture + 0.6, facts);
}

} // namespace inspection
