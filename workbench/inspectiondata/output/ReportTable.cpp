#include "workbench/inspectiondata/output/ReportTable.h"

#include <algorithm>

namespace inspection {

namespace {

constexpr double kHeadHeight = 8.0;
constexpr double kRowHeight = 6.2;
constexpr double kHeadingHeight = 11.0;
constexpr double kPadding = 0.8;
constexpr double kPoints = 7.5;

int alignment(const ReportColumn& column) {
    return (column.number ? Qt::AlignRight : Qt::AlignLeft) | Qt::AlignVCenter;
}

} // namespace

ReportTable::ReportTable(QString heading, std::vector<ReportColumn> columns, std::vector<QStringList> rows)
    : m_heading(std::move(heading)), m_columns(std::move(columns)), m_rows(std::move(rows)) {}

std::size_t ReportTable::rowsOnPage(int page) const {
    const double heading = page == 0 ? kHeadingHeight : 0.0;
    const double space = ReportCanvas::kBottom - ReportCanvas::kTop - heading - kHeadHeight;
    return static_cast<std::size_t>(space / kRowHeight);
}

int ReportTable::pages() const {
    std::size_t drawn = 0;
    int page = 0;
    while (drawn < m_rows.size()) {
        drawn += rowsOnPage(page++);
    }
    return page;
}

double ReportTable::drawHead(ReportCanvas& canvas, double y) const {
    canvas.fill({ReportCanvas::kMargin, y, ReportCanvas::kWidth, kHeadHeight}, ReportCanvas::kAccent);
    double x = ReportCanvas::kMargin;
    for (const ReportColumn& column : m_columns) {
        const QRectF cell(x + kPadding, y, column.widthMillimetres - 2.0 * kPadding, kHeadHeight);
        canvas.text(cell, column.title, kPoints, alignment(column), Qt::white, true);
        x += column.widthMillimetres;
    }
    return y + kHeadHeight;
}

double ReportTable::drawRow(ReportCanvas& canvas, double y, std::size_t row) const {
    if (row % 2 == 1) {
        canvas.fill({ReportCanvas::kMargin, y, ReportCanvas::kWidth, kRowHeight}, ReportCanvas::kTint);
    }
    double x = ReportCanvas::kMargin;
    for (std::size_t i = 0; i < m_columns.size(); ++i) {
        const QRectF cell(x + kPadding, y, m_columns[i].widthMillimetres - 2.0 * kPadding, kRowHeight);
        const QFontMetricsF metrics(canvas.font(kPoints), canvas.painter().device());
        const QString text = metrics.elidedText(m_rows[row].value(static_cast<int>(i)), Qt::ElideRight,
                                                canvas.device(cell).width());
        canvas.text(cell, text, kPoints, alignment(m_columns[i]));
        x += m_columns[i].widthMillimetres;
    }
    return y + kRowHeight;
}

void ReportTable::draw(ReportCanvas& canvas, const std::function<void()>& nextPage) const {
    std::size_t row = 0;
    for (int page = 0; row < m_rows.size(); ++page) {
        nextPage();
        double y = page == 0 ? canvas.heading(ReportCanvas::kTop, m_heading) : ReportCanvas::kTop;
        y = drawHead(canvas, y);
        const std::size_t end = std::min(m_rows.size(), row + rowsOnPage(page));
        for (; row < end; ++row) {
            y = drawRow(canvas, y, row);
        }
        canvas.rule(ReportCanvas::kMargin, y, ReportCanvas::kWidth, ReportCanvas::kAccent, 0.3);
    }
}

double ReportTable::drawAt(ReportCanvas& canvas, double y) const {
    y = drawHead(canvas, y);
    for (std::size_t row = 0; row < m_rows.size(); ++row) {
        y = drawRow(canvas, y, row);
    }
    canvas.rule(ReportCanvas::kMargin, y, ReportCanvas::kWidth, ReportCanvas::kAccent, 0.3);
    return y + 4.0;
}

} // namespace inspection
