#include "workbench/inspection/table/TableSheet.h"

#include <QFile>
#include <QLocale>
#include <QObject>
#include <QSaveFile>
#include <QTemporaryDir>

#include <xlsxwriter.h>

#include <algorithm>
#include <cmath>

namespace inspection {

namespace {

double rounded(double figure) {
    constexpr double kSteps = 1000.0; // to the millimetre
    return std::round(figure * kSteps) / kSteps;
}

QString asText(const TableSheet::Cell& cell) {
    if (const auto* figure = std::get_if<double>(&cell)) {
        return QString::number(rounded(*figure), 'f', QLocale::FloatingPointShortest);
    }
    const auto* words = std::get_if<QString>(&cell);
    if (!words) {
        return {};
    }
    const bool isFormula = !words->isEmpty() && QStringLiteral("=+-@＝＋－＠\t\r\n").contains(words->front());
    return isFormula ? '\'' + *words : *words;
}

/// The titles and the rows as texts, each with what `quoted` makes of it.
template<typename Quoted>
QString lines(const TableSheet& sheet, QChar divider, const char* end, const Quoted& quoted) {
    QString text;
    const auto add = [&](const QStringList& cells) { text += cells.join(divider) + QLatin1String(end); };
    QStringList titles;
    for (const QString& title : sheet.titles) {
        titles << quoted(title);
    }
    add(titles);
    for (const auto& row : sheet.rows) {
        QStringList cells;
        for (const TableSheet::Cell& cell : row) {
            cells << quoted(asText(cell));
        }
        add(cells);
    }
    return text;
}

QString inOneLine(QString text) {
    for (QChar& character : text) {
        if (character == '\t' || character == '\r' || character == '\n') {
            character = ' ';
        }
    }
    return text;
}

/// RFC 4180
QString inQuotes(QString text) {
    const bool needsQuotes = std::any_of(text.begin(), text.end(), [](QChar character) {
        return character == ',' || character == '"' || character == '\r' || character == '\n';
    });
    return needsQuotes ? '"' + text.replace('"', "\"\"") + '"' : text;
}

Unexpected notWritten(const QString& path, const QString& cause) {
    return Unexpected(
        Failure{path + QStringLiteral(": ") + cause, QObject::tr("无法写入 %1：%2").arg(path, cause)});
}

int widthInCharacters(const TableSheet& sheet, std::size_t column) {
    constexpr int kWidest = 40;
    // A Chinese character is as wide as two others.
    const auto width = [](const QString& text) {
        return static_cast<int>(
            std::count_if(text.begin(), text.end(), [](QChar each) { return each.unicode() > 0xff; }) +
            text.size());
    };
    int widest = width(sheet.titles.value(static_cast<qsizetype>(column)));
    for (const auto& row : sheet.rows) {
        widest = std::max(widest, width(asText(row[column])));
    }
    return std::min(widest, kWidest) + 2;
}

void fill(lxw_workbook& book, const TableSheet& sheet) {
    lxw_worksheet* page = workbook_add_worksheet(&book, nullptr);
    lxw_format* bold = workbook_add_format(&book);
    format_set_bold(bold);
    for (qsizetype column = 0; column < sheet.titles.size(); ++column) {
        const auto place = static_cast<lxw_col_t>(column);
        worksheet_set_column(page, place, place, widthInCharacters(sheet, static_cast<std::size_t>(column)),
                             nullptr);
        worksheet_write_string(page, 0, place, sheet.titles[column].toUtf8().constData(), bold);
    }
    for (std::size_t row = 0; row < sheet.rows.size(); ++row) {
        for (std::size_t column = 0; column < sheet.rows[row].size(); ++column) {
            const auto line = static_cast<lxw_row_t>(row + 1);
            const auto place = static_cast<lxw_col_t>(column);
            const TableSheet::Cell& cell = sheet.rows[row][column];
            if (const auto* figure = std::get_if<double>(&cell)) {
                worksheet_write_number(page, line, place, rounded(*figure), nullptr);
            } else if (const auto* words = std::get_if<QString>(&cell)) {
                worksheet_write_string(page, line, place, words->toUtf8().constData(), nullptr);
            }
        }
    }
    worksheet_freeze_panes(page, 1, 0);
}

/// The library writes files only.
Result<QByteArray> workbookOf(const TableSheet& sheet, const QString& path) {
    const QTemporaryDir folder;
    const QString made = folder.filePath("table.xlsx");
    lxw_workbook* book = workbook_new(made.toUtf8().constData());
    if (!book) {
        return notWritten(path, QObject::tr("内存不足"));
    }
    fill(*book, sheet);
    if (const lxw_error error = workbook_close(book); error != LXW_NO_ERROR) {
        return notWritten(path, QString::fromUtf8(lxw_strerror(error)));
    }
    QFile file(made);
    if (!file.open(QIODevice::ReadOnly)) {
        return notWritten(path, file.errorString());
    }
    return file.readAll();
}

} // namespace

QString tabSeparated(const TableSheet& sheet) {
    return lines(sheet, '\t', "\n", inOneLine);
}

QByteArray commaSeparated(const TableSheet& sheet) {
    return "\xEF\xBB\xBF" + lines(sheet, ',', "\r\n", inQuotes).toUtf8();
}

Status writeSheet(const TableSheet& sheet, const QString& path) {
    const bool isWorkbook = path.endsWith(QStringLiteral(".xlsx"), Qt::CaseInsensitive);
    const Result<QByteArray> bytes =
        isWorkbook ? workbookOf(sheet, path) : Result<QByteArray>(commaSeparated(sheet));
    if (!bytes) {
        return failed(bytes);
    }
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(*bytes) != bytes->size() || !file.commit()) {
        return notWritten(path, file.errorString());
    }
    return {};
}

} // namespace inspection
