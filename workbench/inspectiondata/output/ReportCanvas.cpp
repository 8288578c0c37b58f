#include "workbench/inspectiondata/output/ReportCanvas.h"

#include <QPageLayout>
#include <QPageSize>

namespace inspection {

namespace {

constexpr int kDotsPerInch = 300;

} // namespace

ReportCanvas::ReportCanvas(QIODevice& target, const QString& title, const QString& runningHead)
    : m_writer(&target), m_runningHead(runningHead), m_units(kDotsPerInch / 25.4) {
    m_writer.setResolution(kDotsPerInch);
    m_writer.setPageLayout(
        QPageLayout(QPageSize(QPageSize::A4), QPageLayout::Portrait, QMarginsF(0, 0, 0, 0)));
    m_writer.setTitle(title);
    m_writer.setCreator(QStringLiteral("Corridor"));
    m_painter.begin(&m_writer);
    m_painter.setRenderHint(QPainter::Antialiasing);
    m_painter.setRenderHint(QPainter::SmoothPixmapTransform);
}

QRectF ReportCanvas::device(const QRectF& millimetres) const {
    return {millimetres.topLeft() * m_units, millimetres.size() * m_units};
}

QFont ReportCanvas::font(double points, bool bold) const {
    QFont font;
    font.setFamilies({"Noto Sans CJK SC", "Source Han Sans SC", "WenQuanYi Zen Hei", "WenQuanYi Micro Hei",
                      "Microsoft YaHei", "SimHei", "sans-serif"});
    font.setPointSizeF(points);
    font.setBold(bold);
    return font;
}

void ReportCanvas::nextPage(int pages) {
    if (m_page > 0) {
        m_writer.newPage();
    }
    ++m_page;
    if (m_page == 1) {
        return; // the title page has neither head nor number
    }
    text({kMargin, 11.0, kWidth, 6.0}, m_runningHead, 8.5, Qt::AlignLeft | Qt::AlignVCenter, kQuiet);
    rule(kMargin, 18.0, kWidth);
    text({kMargin, 284.0, kWidth, 6.0}, QStringLiteral("第 %1 页 / 共 %2 页").arg(m_page).arg(pages), 8.5,
         Qt::AlignHCenter | Qt::AlignVCenter, kQuiet);
}

void ReportCanvas::text(const QRectF& box, const QString& text, double points, int flags,
                        const QColor& colour, bool bold) {
    m_painter.setFont(font(points, bold));
    m_painter.setPen(colour);
    m_painter.drawText(device(box), flags, text);
}

void ReportCanvas::fill(const QRectF& box, const QColor& colour) {
    m_painter.fillRect(device(box), colour);
}

void ReportCanvas::rule(double x, double y, double width, const QColor& colour, double thickness) {
    fill({x, y - thickness / 2.0, width, thickness}, colour);
}

double ReportCanvas::heading(double y, const QString& text) {
    fill({kMargin, y + 1.0, 1.6, 6.0}, kAccent);
    this->text({kMargin + 4.0, y, kWidth - 4.0, 8.0}, text, 14.0, Qt::AlignLeft | Qt::AlignVCenter, kAccent,
               true);
    return y + 11.0;
}

void ReportCanvas::image(const QRectF& box, const QImage& picture) {
    if (picture.isNull()) {
        return;
    }
    QRectF place = device(box);
    const QSizeF size = QSizeF(picture.size()).scaled(place.size(), Qt::KeepAspectRatio);
    const QPointF centre = place.center();
    place.setSize(size);
    place.moveCenter(centre);
    m_painter.drawImage(place, picture);
}

} // namespace inspection
