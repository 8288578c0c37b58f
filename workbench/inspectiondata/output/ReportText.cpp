#include "workbench/inspectiondata/output/ReportText.h"

#include "workbench/inspectiondata/output/AnomalySheet.h"
#include "workbench/inspectiondata/output/MapSheet.h"
#include "workbench/inspectiondata/output/PicturesAhead.h"
#include "workbench/inspectiondata/output/ReportFacts.h"

#include <QBuffer>
#include <QPainter>
#include <QTextCursor>
#include <QTextDocument>
#include <QTextDocumentWriter>
#include <QTextTable>
#include <QUrl>

namespace inspection {

namespace {

constexpr int kPicturePixels = 300;
constexpr int kOutlinePixelsPerMillimetre = 6;

class TextReport {
public:
    TextReport(const ReportContent& content, const OutputProgress& progress)
        : m_content(content), m_progress(progress), m_pipeline(Pipeline::read(content.data.project)),
          m_facts(reportFacts(content.data, m_pipeline)), m_cursor(&m_document) {}

    bool compose();
    bool writeOdt(QIODevice& target);
    bool writeHtml(QIODevice& target);

private:
    void paragraph(const QString& text, double points, bool bold = false);
    void factTable(const std::vector<NamedFact>& facts);
    void anomalyTable();
    void picture(const QImage& image);
    static QImage sheetPicture(const AnomalyFacts& facts, const AnomalyPictures& pictures);
    bool report(double done) const { return !m_progress || m_progress(done); }

    const ReportContent& m_content;
    const OutputProgress& m_progress;
    Pipeline m_pipeline;
    ReportFacts m_facts;
    QTextDocument m_document;
    QTextCursor m_cursor;
    std::vector<std::pair<QString, QImage>> m_pictures;
};

void TextReport::paragraph(const QString& text, double points, bool bold) {
    QTextCharFormat format;
    format.setFontPointSize(points);
    format.setFontWeight(bold ? QFont::Bold : QFont::Normal);
    m_cursor.movePosition(QTextCursor::End);
    m_cursor.insertBlock();
    m_cursor.insertText(text, format);
}

QTextTableFormat plainTable() {
    QTextTableFormat format;
    format.setCellPadding(3);
    format.setCellSpacing(0);
    format.setBorder(0.5);
    return format;
}

void TextReport::factTable(const std::vector<NamedFact>& facts) {
    if (facts.empty()) {
        return;
    }
    m_cursor.movePosition(QTextCursor::End);
    m_cursor.insertBlock();
    QTextTable* table = m_cursor.insertTable(static_cast<int>(facts.size()), 2, plainTable());
    for (int row = 0; row < table->rows(); ++row) {
        table->cellAt(row, 0).firstCursorPosition().insertText(facts[std::size_t(row)].name);
        table->cellAt(row, 1).firstCursorPosition().insertText(facts[std::size_t(row)].value);
    }
}

void TextReport::anomalyTable() {
    const auto& columns = ReportFacts::columns();
    m_cursor.movePosition(QTextCursor::End);
    m_cursor.insertBlock();
    QTextTable* table = m_cursor.insertTable(static_cast<int>(m_facts.anomalies.size()) + 1,
                                             static_cast<int>(columns.size()), plainTable());
    QTextCharFormat head;
    head.setFontWeight(QFont::Bold);
    for (int column = 0; column < table->columns(); ++column) {
        table->cellAt(0, column).firstCursorPosition().insertText(columns[std::size_t(column)].title, head);
        for (int row = 1; row < table->rows(); ++row) {
            const QString& text = m_facts.anomalies[std::size_t(row) - 1].row[column];
            table->cellAt(row, column).firstCursorPosition().insertText(text);
        }
    }
}

void TextReport::picture(const QImage& image) {
    if (image.isNull()) {
        return;
    }
    const QString name = QStringLiteral("picture%1.jpg").arg(m_pictures.size() + 1);
    m_document.addResource(QTextDocument::ImageResource, QUrl(name), image);
    m_cursor.movePosition(QTextCursor::End);
    m_cursor.insertBlock();
    QTextImageFormat format;
    format.setName(name);
    format.setWidth(qMin(640, image.width()));
    m_cursor.insertImage(format);
    m_pictures.emplace_back(name, image);
}

/// Before, after and difference side by side, with the outline.
QImage TextReport::sheetPicture(const AnomalyFacts& facts, const AnomalyPictures& pictures) {
    QImage sheet(3 * kPicturePixels + 20, kPicturePixels, QImage::Format_RGB32);
    sheet.fill(Qt::white);
    QPainter painter(&sheet);
    painter.setRenderHint(QPainter::Antialiasing);
    int x = 0;
    for (const QImage* image : {&pictures.before, &pictures.after, &pictures.difference}) {
        const MapSheet map(pictures.ground, QRectF(x, 0, kPicturePixels, kPicturePixels),
                           kOutlinePixelsPerMillimetre);
        map.drawPicture(painter, *image);
        map.drawOutline(painter, facts.anomaly->outlineWkt, QColor(255, 214, 10), 0.3);
        x += kPicturePixels + 10;
    }
    return sheet;
}

bool TextReport::compose() {
    paragraph(m_facts.title, 24.0, true);
    paragraph(m_facts.projectName + QStringLiteral("　") + m_facts.period, 13.0);
    factTable(m_facts.project);
    paragraph(QStringLiteral("结论摘要"), 15.0, true);
    paragraph(m_facts.summary, 10.5);
    factTable(m_facts.method);
    picture(m_content.globePicture);
    paragraph(QStringLiteral("异常汇总表"), 15.0, true);
    anomalyTable();
    paragraph(QStringLiteral("异常详图（前期、后期、高差）"), 15.0, true);
    PicturesAhead pictures(m_content.data, m_facts.anomalies, kPicturePixels);
    for (std::size_t i = 0; i < m_facts.anomalies.size(); ++i) {
        const AnomalyFacts& facts = m_facts.anomalies[i];
        paragraph(facts.name + QStringLiteral("　") + facts.className, 11.0, true);
        picture(sheetPicture(facts, pictures.next()));
        if (!report(double(i + 1) / double(m_facts.anomalies.size()))) {
            return false;
        }
    }
    return report(1.0);
}

bool TextReport::writeOdt(QIODevice& target) {
    QBuffer buffer; // the writer closes its device, which a file that is to be completed must not be
    QTextDocumentWriter writer(&buffer, "odf");
    return writer.write(&m_document) && target.write(buffer.data()) == buffer.data().size();
}

bool TextReport::writeHtml(QIODevice& target) {
    QString html = m_document.toHtml();
    for (const auto& [name, image] : m_pictures) {
        QByteArray bytes;
        QBuffer buffer(&bytes);
        buffer.open(QIODevice::WriteOnly);
        image.save(&buffer, "JPG", 88);
        html.replace("src=\"" + name + '"',
                     "src=\"data:image/jpeg;base64," + QString::fromLatin1(bytes.toBase64()) + '"');
    }
    const QByteArray text = html.toUtf8();
    return target.write(text) == text.size();
}

} // namespace

bool writeTextReport(const ReportContent& content, const QString& format, QIODevice& target,
                     const OutputProgress& progress) {
    TextReport report(content, progress);
    if (!report.compose()) {
        return false;
    }
    // What cannot be written shows when the file is completed.
    format == QLatin1String("odt") ? report.writeOdt(target) : report.writeHtml(target);
    return true;
}

} // namespace inspection
