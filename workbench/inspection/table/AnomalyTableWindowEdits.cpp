// How the table's selection is judged, deleted and restored; see AnomalyTableWindow.cpp for what it shows.

#include "workbench/inspection/table/AnomalyTableWindow.h"

#include "host/Gbk.h"
#include "workbench/inspection/session/Session.h"
#include "workbench/inspection/table/AnomalyEdits.h"
#include "workbench/inspection/table/AnomalyFilter.h"
#include "workbench/inspection/table/AnomalyTableModel.h"
#include "workbench/inspection/table/AnomalyTableView.h"
#include "workbench/inspectiondata/database/AnomalyChanges.h"

namespace inspection {

std::vector<SdiffData> AnomalyTableWindow::selected() const {
    std::vector<SdiffData> anomalies;
    for (const int row : m_table->selectedRows()) {
        anomalies.push_back(m_filter->rowAt(row).anomaly());
    }
    return anomalies;
}

std::vector<SdiffData> AnomalyTableWindow::selectedBeside(std::uint32_t stationId,
                                                          const std::vector<SdiffData>& anomalies) const {
    std::set<std::string> beside(m_selectedNames.begin(), m_selectedNames.end());
    for (const SdiffData& anomaly : anomalies) {
        if (beside.erase(anomaly.name) == 0) {
            return {};
        }
    }
    std::vector<SdiffData> found;
    for (const std::string& name : beside) {
        const int row = m_model->rowOf(name);
        if (row >= 0 && m_model->row(row).station().id != stationId) {
            found.push_back(m_model->anomaly(row));
        }
    }
    return found;
}

void AnomalyTableWindow::SetItemAtrii(KV_StationItem* item, const std::vector<SdiffData>& anomalies) {
    if (item && !anomalies.empty()) {
        takeInto(*item, m_edits->classify(anomalies));
    }
}

void AnomalyTableWindow::DeleteItems(KV_StationItem* item, const std::vector<SdiffData>& anomalies) {
    if (!item || anomalies.empty()) {
        return;
    }
    std::vector<SdiffData> deleted = anomalies;
    const std::vector<SdiffData> others = selectedBeside(item->GetStationId(), anomalies);
    const QString question = tr("删除 %1 处异常？选“否”只删除这个站段的 %2 处。")
                                 .arg(anomalies.size() + others.size())
                                 .arg(anomalies.size());
    if (!others.empty() && m_session.ask(question)) {
        deleted.insert(deleted.end(), others.begin(), others.end());
    }
    takeInto(*item, m_edits->remove(deleted));
}

// The windows have their own records of the station, which have followed by now.
void AnomalyTableWindow::takeInto(KV_StationItem& item, const std::optional<RowChanges>& changes) {
    if (changes) {
        applyChanges(anomalyChanges(*changes, m_session.comparisonId()), item.GetStationId(),
                     item.m_diffData.m_anomalies);
    }
}

void AnomalyTableWindow::classifySelected(const QString& attribute) {
    std::vector<SdiffData> anomalies = selected();
    for (SdiffData& anomaly : anomalies) {
        anomaly.attribute = toGbk(attribute);
    }
    if (!anomalies.empty()) {
        m_edits->classify(anomalies);
    }
    walkOn();
}

void AnomalyTableWindow::deleteSelected() {
    const std::vector<SdiffData> anomalies = selected();
    if (anomalies.empty() || !m_session.ask(tr("删除 %1 处异常？").arg(anomalies.size()))) {
        return;
    }
    m_edits->remove(anomalies);
    walkOn();
}

void AnomalyTableWindow::restoreSelected() {
    const std::vector<SdiffData> anomalies = selected();
    if (!anomalies.empty()) {
        m_edits->restore(anomalies);
    }
}

// Rows that left the table, deleted or judged away under a filter, leave the current row on their neighbour.
void AnomalyTableWindow::walkOn() {
    m_table->setFocus();
    if (m_table->selectionModel()->hasSelection() || !m_table->currentIndex().isValid()) {
        return;
    }
    m_table->selectRow(m_table->currentIndex().row());
    m_reached.start();
}

} // namespace inspection
