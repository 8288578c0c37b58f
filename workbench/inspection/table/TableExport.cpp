#include "workbench/inspection/table/TableExport.h"

#include "workbench/inspection/session/Session.h"
#include "workbench/inspection/table/AnomalyTableView.h"
#include "workbench/inspection/table/TableSheet.h"

#include <QDir>
#include <QFileDialog>

namespace inspection {

TableExport::TableExport(Session& session, const AnomalyTableView& table, QWidget* parent)
    : QMenu(parent), m_session(session), m_table(table) {
    addAction(tr("Excel 工作簿 (*.xlsx)…"), this, [this] { exportAs(".xlsx"); });
    addAction(tr("CSV 文件 (*.csv)…"), this, [this] { exportAs(".csv"); });
}

void TableExport::exportAs(const QString& ending) {
    const QString folder = m_session.project() ? m_session.project()->description().folder : QString();
    const QString proposed = QDir(folder).filePath(tr("异常列表") + ending);
    QString path = QFileDialog::getSaveFileName(parentWidget(), tr("导出异常列表"), proposed, '*' + ending);
    if (path.isEmpty()) {
        return;
    }
    if (!path.endsWith(ending, Qt::CaseInsensitive)) {
        path += ending;
    }
    const TableSheet sheet = m_table.sheet();
    if (const Status written = writeSheet(sheet, path); !written) {
        m_session.warn(written.error().userMessage);
    } else {
        m_session.notice(
            tr("已导出 %1 处异常：%2").arg(sheet.rows.size()).arg(QDir::toNativeSeparators(path)));
    }
}

} // namespace inspection
