#pragma once

#include "workbench/inspectiondata/project/Result.h"

#include <QByteArray>
#include <QString>
#include <QStringList>

#include <variant>
#include <vector>

namespace inspection {

/// What a table shows, as other programs take it: figures stay figures, to the millimetre. A text that such a program
/// would take for a formula, because it begins with = + - @, narrow or as wide as a letter here, a tab or a line break, has an apostrophe put before it where it
/// travels as plain text.
struct TableSheet {
    /// Nothing, words, or a figure.
    using Cell = std::variant<std::monostate, QString, double>;

    QStringList titles;
    std::vector<std::vector<Cell>> rows;
};

/// For the clipboard: columns are divided by tabs, each row is a line, the first one has the titles.
QString tabSeparated(const TableSheet& sheet);
/// UTF-8 with a byte order mark, by which spreadsheets know it.
QByteArray commaSeparated(const TableSheet& sheet);

/// Writes the sheet into a file, as a workbook where its name ends with ".xlsx", otherwise as CSV. An earlier file is
/// replaced by the whole one or not at all.
Status writeSheet(const TableSheet& sheet, const QString& path);

} // namespace inspection
