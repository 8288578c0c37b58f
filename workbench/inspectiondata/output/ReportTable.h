#pragma once

#include "workbench/inspectiondata/output/ReportCanvas.h"
#include "workbench/inspectiondata/output/ReportFacts.h"

#include <QStringList>

#include <functional>
#include <vector>

namespace inspection {

/// A table that goes on over pages, with its head on each. Rows have one height; a text that is too long for its
/// cell ends in dots.
class ReportTable {
public:
    ReportTable(QString heading, std::vector<ReportColumn> columns, std::vector<QStringList> rows);

    /// Pages it takes when it begins on a new one; 0 without rows.
    int pages() const;
    /// `nextPage` begins a page.
    void draw(ReportCanvas& canvas, const std::function<void()>& nextPage) const;
    /// Without heading or page break; returns where the text below it begins. For tables of a few rows.
    double drawAt(ReportCanvas& canvas, double y) const;

private:
    std::size_t rowsOnPage(int page) const;
    double drawHead(ReportCanvas& canvas, double y) const;
    double drawRow(ReportCanvas& canvas, double y, std::size_t row) const;

    QString m_heading;
    std::vector<ReportColumn> m_columns;
    std::vector<QStringList> m_rows;
};

} // namespace inspection
