#include "workbench/inspectiondata/output/ReportPdf.h"

#include "host/Gbk.h"
#include "workbench/inspectiondata/output/AnomalySheet.h"
#include "workbench/inspectiondata/output/MapSheet.h"
#include "workbench/inspectiondata/output/PicturesAhead.h"
#include "workbench/inspectiondata/output/ReportCanvas.h"
#include "workbench/inspectiondata/output/ReportFacts.h"
#include "workbench/inspectiondata/output/ReportTable.h"
#include "workbench/inspectiondata/output/StationMaps.h"
#include "workbench/inspectiondata/text/AnomalyFields.h"

#include <algorithm>
#include <cmath>

namespace inspection {

namespace {

constexpr double kLeft = ReportCanvas::kMargin;
constexpr double kWidth = ReportCanvas::kWidth;
constexpr int kBlocksPerPage = 3;
constexpr int kPagesBeforeMaps = 2; // title, summary with the overview
constexpr double kFactNames = 34.0;
constexpr double kFactPoints = 10.0;
constexpr std::size_t kMostClasses = 10;
constexpr double kMapPixelsPerMillimetre = 8.0;

/// All stations and the pipe, with a little room.
QRectF projectGround(const InspectionData& data) {
    QRectF ground;
    for (const StationFindings& findings : data.stations) {
        const KV_Station& station = findings.station;
        ground |= QRectF(station.m_xMin, station.m_yMin, station.m_xMax - station.m_xMin,
                         station.m_yMax - station.m_yMin);
    }
    const double room = std::max(ground.width(), ground.height()) * 0.01;
    return ground.adjusted(-room, -room, room, room);
}

QString levelText(int level) {
    return level == 0 ? QStringLiteral("–") : QStringLiteral("%1 级").arg(level);
}

QStringList specialRow(const KV_BasicNode& node, const QString& kind, const QString& level) {
    return {fromGbk(node.GetName()),
            kind,
            fromGbk(node.m_attribute),
            level,
            QString::number(node.GetCoor().x(), 'f', 6),
            QString::number(node.GetCoor().y(), 'f', 6)};
}

ReportTable specialTable(const InspectionData& data) {
    std::vector<QStringList> rows;
    for (const Special_Polygon& area : data.highConsequenceAreas) {
        rows.push_back(specialRow(area, QStringLiteral("高后果区"), levelText(area.m_level)));
    }
    for (const Special_Area& area : data.specialAreas) {
        rows.push_back(specialRow(area, QStringLiteral("特殊面"), QStringLiteral("–")));
    }
    for (const Special_Point& point : data.specialPoints) {
        rows.push_back(specialRow(point, QStringLiteral("特殊点"), QStringLiteral("–")));
    }
    return {QStringLiteral("特殊目标"),
            {{"名称", 52.0, false},
             {"类别", 30.0, false},
             {"属性", 40.0, false},
             {"等级", 16.0, false},
             {"经度 °", 22.0, true},
             {"纬度 °", 22.0, true}},
            std::move(rows)};
}

ReportTable anomalyTable(const ReportFacts& facts) {
    std::vector<QStringList> rows;
    for (const AnomalyFacts& anomaly : facts.anomalies) {
        rows.push_back(anomaly.row);
    }
    return {QStringLiteral("异常汇总表"), ReportFacts::columns(), std::move(rows)};
}

ReportTable classTable(const ReportFacts& facts) {
    std::vector<QStringList> rows;
    for (const ClassTotal& total : facts.classes) {
        if (rows.size() == kMostClasses) {
            break; // the table of anomalies names the rest
        }
        rows.push_back(
            {total.name, QString::number(total.count), QString::number(total.judged),
             QString::number(total.count - total.judged), QString::number(total.areaSquareMetres, 'f', 1),
             QString::number(total.fillCubicMetres, 'f', 1), QString::number(total.cutCubicMetres, 'f', 1)});
    }
    return {QString(),
            {{"类别", 44.0, false},
             {"数量", 19.0, true},
             {"已核查", 19.0, true},
             {"待核查", 19.0, true},
             {kAreaTitle.inLine(), 27.0, true},
             {"填方 m³", 27.0, true},
             {"挖方 m³", 27.0, true}},
            std::move(rows)};
}

class PdfReport {
public:
    PdfReport(const ReportContent& content, QIODevice& target, const OutputProgress& progress);
    bool write();

private:
    void nextPage() { m_canvas.nextPage(m_pages); }
    void drawTitlePage();
    void drawSummaryPage();
    void drawMethodPage();
    double drawMapSection(double y);
    bool drawSheets();
    double drawFacts(double y, const std::vector<NamedFact>& facts);
    void drawOverview(const QRectF& box, bool labels);
    void drawMapLegend(double y);
    void drawMethod(double y);
    double overviewHeight() const;
    /// The method stands below the overview when there is room, otherwise on a page with the scene.
    bool methodHasPage();
    double methodHeight();
    double factHeight(const NamedFact& fact);
    int sheetPages() const;
    bool report(double done) const { return !m_progress || m_progress(done); }

    const ReportContent& m_content;
    const InspectionData& m_data;
    const OutputProgress& m_progress;
    Pipeline m_pipeline;
    ReportFacts m_facts;
    ReportTable m_anomalyTable;
    ReportTable m_specialTable;
    StationMaps m_stationMaps;
    ReportCanvas m_canvas;
    int m_pages = 0;
};

PdfReport::PdfReport(const ReportContent& content, QIODevice& target, const OutputProgress& progress)
    : m_content(content), m_data(content.data), m_progress(progress),
      m_pipeline(Pipeline::read(m_data.project)), m_facts(reportFacts(m_data, m_pipeline)),
      m_anomalyTable(anomalyTable(m_facts)), m_specialTable(specialTable(m_data)),
      m_stationMaps(m_data, m_pipeline), m_canvas(target, m_facts.title + ' ' + m_facts.projectName,
                                                  m_facts.title + QStringLiteral("　") + m_facts.projectName +
                                                      QStringLiteral("　") + m_facts.period) {
    m_pages = kPagesBeforeMaps + (methodHasPage() ? 1 : 0) + m_stationMaps.pages() + m_anomalyTable.pages() +
              m_specialTable.pages() + sheetPages();
}

int PdfReport::sheetPages() const {
    return (static_cast<int>(m_facts.anomalies.size()) + kBlocksPerPage - 1) / kBlocksPerPage;
}

double PdfReport::drawFacts(double y, const std::vector<NamedFact>& facts) {
    for (const NamedFact& fact : facts) {
        const double height = factHeight(fact);
        m_canvas.text({kLeft + 2.0, y, kFactNames, height}, fact.name, kFactPoints,
                      Qt::AlignLeft | Qt::AlignVCenter, ReportCanvas::kQuiet);
        m_canvas.text({kLeft + kFactNames, y, kWidth - kFactNames, height}, fact.value, kFactPoints,
                      Qt::AlignLeft | Qt::AlignVCenter | Qt::TextWordWrap);
        y += height;
        m_canvas.rule(kLeft, y, kWidth);
    }
    return y + 4.0;
}

/// A long value takes several lines.
double PdfReport::factHeight(const NamedFact& fact) {
    constexpr double kRow = 8.0;
    constexpr double kRoom = 3.0;
    const QFontMetricsF metrics(m_canvas.font(kFactPoints), m_canvas.painter().device());
    const QRectF box = m_canvas.device({0.0, 0.0, kWidth - kFactNames, kRow});
    const double text = metrics.boundingRect(box, Qt::TextWordWrap, fact.value).height();
    return std::max(kRow, text / m_canvas.unitsPerMillimetre() + kRoom);
}

double PdfReport::methodHeight() {
    constexpr double kHeadingAndNote = 36.0;
    double height = kHeadingAndNote;
    for (const NamedFact& fact : m_facts.method) {
        height += factHeight(fact);
    }
    return height;
}

void PdfReport::drawTitlePage() {
    nextPage();
    m_canvas.fill({0.0, 0.0, ReportCanvas::kPageWidth, 78.0}, ReportCanvas::kAccent);
    m_canvas.text({kLeft, 24.0, kWidth, 18.0}, m_facts.title, 32.0, Qt::AlignLeft | Qt::AlignVCenter,
                  Qt::white, true);
    m_canvas.text({kLeft, 45.0, kWidth, 10.0}, m_facts.projectName, 17.0, Qt::AlignLeft | Qt::AlignVCenter,
                  Qt::white);
    m_canvas.text({kLeft, 57.0, kWidth, 8.0}, m_facts.period, 12.0, Qt::AlignLeft | Qt::AlignVCenter,
                  QColor(205, 220, 238));
    const QRectF ground = projectGround(m_data);
    const double height = std::clamp(kWidth * ground.height() / std::max(1.0, ground.width()), 46.0, 118.0);
    drawOverview({kLeft, 90.0, kWidth, height}, false);
    const double y = std::min(90.0 + height + 10.0, 212.0);
    drawFacts(y, m_facts.project);
}

void PdfReport::drawSummaryPage() {
    nextPage();
    double y = m_canvas.heading(ReportCanvas::kTop, QStringLiteral("结论摘要"));
    m_canvas.text({kLeft, y, kWidth, 18.0}, m_facts.summary, 11.0,
                  Qt::AlignLeft | Qt::AlignTop | Qt::TextWordWrap);
    y += 17.0;
    if (!m_facts.classes.empty()) {
        y = classTable(m_facts).drawAt(m_canvas, y) + 5.0;
    }
    y = drawMapSection(y);
    if (!methodHasPage()) {
        drawMethod(y + 4.0);
    }
}

double PdfReport::overviewHeight() const {
    const QRectF ground = projectGround(m_data);
    return std::max(40.0, kWidth * ground.height() / std::max(1.0, ground.width()));
}

bool PdfReport::methodHasPage() {
    constexpr double kTextAndHeads = 70.0;
    constexpr double kClassRow = 6.2;
    const double classes = kClassRow * double(std::min(kMostClasses, m_facts.classes.size()));
    return !m_content.globePicture.isNull() ||
           ReportCanvas::kTop + kTextAndHeads + classes + overviewHeight() + methodHeight() >
               ReportCanvas::kBottom;
}

void PdfReport::drawMethodPage() {
    nextPage();
    double y = ReportCanvas::kTop;
    if (!m_content.globePicture.isNull()) {
        y = m_canvas.heading(y, QStringLiteral("三维场景"));
        const QSizeF picture = m_content.globePicture.size();
        const double height = std::min(118.0, kWidth * picture.height() / picture.width());
        m_canvas.image({kLeft, y, kWidth, height}, m_content.globePicture);
        y += height + 8.0;
    }
    drawMethod(y);
}

void PdfReport::drawMethod(double y) {
    y = m_canvas.heading(y, QStringLiteral("方法与参数"));
    y = drawFacts(y, m_facts.method) + 2.0;
    const QString note = QStringLiteral(
        "高差 dZ 为后期表面高程减前期表面高程，正值为填、负值为挖；体积为高差在异常范围内的积分。"
        "位置为异常形心，经纬度采用 WGS "
        "84；里程为形心在管道中心线上的位置，距管线为异常轮廓到中心线的最短水平距离，"
        "相交时为 0；高后果区为异常轮廓接触或重叠的区域。体积后的 ± 为一倍标准差。"
        "“建议类别”由程序按形状与高差给出，“核查结论”由巡检人员确认。");
    m_canvas.text({kLeft, y, kWidth, 26.0}, note, 9.0, Qt::AlignLeft | Qt::AlignTop | Qt::TextWordWrap,
                  ReportCanvas::kQuiet);
}

void PdfReport::drawOverview(const QRectF& box, bool labels) {
    const MapSheet sheet(projectGround(m_data), m_canvas.device(box), m_canvas.unitsPerMillimetre());
    QPainter& painter = m_canvas.painter();
    const QImage picture =
        epochPicture(m_data.project.newEpoch(), sheet.window(m_data.project.crs, kMapPixelsPerMillimetre));
    m_canvas.fill(box, ReportCanvas::kTint);
    sheet.drawPicture(painter, picture);
    painter.setFont(m_canvas.font(6.5));
    for (const StationFindings& findings : m_data.stations) {
        const KV_Station& station = findings.station;
        const QRectF area(sheet.toPage(station.m_xMin, station.m_yMax),
                          sheet.toPage(station.m_xMax, station.m_yMin));
        painter.setBrush(Qt::NoBrush);
        painter.setPen(QPen(QColor(255, 255, 255, 190), 0.15 * m_canvas.unitsPerMillimetre(), Qt::DashLine));
        painter.drawRect(area);
        if (labels) {
            painter.setPen(Qt::white);
            painter.drawText(area.adjusted(8.0, 4.0, 0.0, 0.0), Qt::AlignLeft | Qt::AlignTop,
                             QString::number(station.m_id));
        }
    }
    sheet.drawPipeline(painter, m_pipeline, 0.45);
    for (const AnomalyFacts& facts : m_facts.anomalies) {
        const ProjectParameters& parameters = m_data.project.parameters;
        sheet.drawOutline(painter, facts.anomaly->outlineWkt,
                          facts.anomaly->isFill ? parameters.fillColour : parameters.cutColour, 0.4);
    }
    sheet.drawScaleBar(painter, m_canvas.font(6.5));
    sheet.drawNorthArrow(painter, m_canvas.font(6.5));
    sheet.drawFrame(painter);
}

void PdfReport::drawMapLegend(double y) {
    const ProjectParameters& parameters = m_data.project.parameters;
    const std::pair<QColor, QString> entries[] = {{parameters.fillColour, QStringLiteral("填方异常")},
                                                  {parameters.cutColour, QStringLiteral("挖方异常")},
                                                  {QColor(230, 120, 0), QStringLiteral("管道中心线")}};
    double x = kLeft;
    for (const auto& [colour, name] : entries) {
        m_canvas.fill({x, y + 2.1, 7.0, 0.9}, colour);
        m_canvas.text({x + 9.0, y, 26.0, 5.0}, name, 8.5);
        x += 36.0;
    }
    m_canvas.text({x, y, kWidth - (x - kLeft), 5.0}, QStringLiteral("虚线为站段范围，数字为站段编号"), 8.5,
                  Qt::AlignLeft | Qt::AlignVCenter, ReportCanvas::kQuiet);
}

double PdfReport::drawMapSection(double y) {
    constexpr double kLegendHeight = 8.0;
    y = m_canvas.heading(y, QStringLiteral("异常分布图"));
    const double space = ReportCanvas::kBottom - y - kLegendHeight;
    const double height = std::min(space, overviewHeight());
    drawOverview({kLeft, y, kWidth, height}, true);
    drawMapLegend(y + height + 1.5);
    return y + height + kLegendHeight;
}

bool PdfReport::drawSheets() {
    const std::size_t count = m_facts.anomalies.size();
    PicturesAhead pictures(m_data, m_facts.anomalies, kAnomalyPicturePixels);
    for (std::size_t i = 0; i < count; ++i) {
        const auto place = static_cast<int>(i) % kBlocksPerPage;
        double top = ReportCanvas::kTop - 2.0;
        if (place == 0) {
            nextPage();
        }
        if (i < kBlocksPerPage) {
            if (i == 0) {
                m_canvas.heading(ReportCanvas::kTop - 3.0, QStringLiteral("异常详图"));
            }
            top += 11.0;
        }
        drawAnomaly(m_canvas, top + place * kAnomalyBlockHeight, m_data, m_facts.anomalies[i],
                    pictures.next());
        if (!report(0.2 + 0.8 * double(i + 1) / double(count))) {
            return false;
        }
    }
    return true;
}

bool PdfReport::write() {
    if (!report(0.0)) {
        return false;
    }
    drawTitlePage();
    drawSummaryPage();
    if (methodHasPage()) {
        drawMethodPage();
    }
    m_stationMaps.draw(m_canvas, [this] { nextPage(); });
    m_anomalyTable.draw(m_canvas, [this] { nextPage(); });
    m_specialTable.draw(m_canvas, [this] { nextPage(); });
    return report(0.2) && drawSheets() && report(1.0);
}

} // namespace

bool writePdfReport(const ReportContent& content, QIODevice& target, const OutputProgress& progress) {
    return PdfReport(content, target, progress).write();
}

} // namespace inspection
