#include "workbench/inspection/table/AnomalyEdits.h"

#include "host/Gbk.h"
#include "workbench/inspection/session/Session.h"
#include "workbench/inspectiondata/database/AnomalyTable.h"
#include "workbench/inspectiondata/database/Schema.h"

namespace inspection {

namespace {

/// "分类 3 处异常为 深挖"
QString classification(const std::vector<SdiffData>& anomalies) {
    const std::string& attribute = anomalies.front().attribute;
    return attribute.empty()
               ? QObject::tr("清除 %1 处异常的分类").arg(anomalies.size())
               : QObject::tr("分类 %1 处异常为 %2").arg(anomalies.size()).arg(fromGbk(attribute));
}

std::vector<RowEdit> attributesOf(const std::vector<SdiffData>& anomalies) {
    std::vector<RowEdit> edits;
    for (const SdiffData& anomaly : anomalies) {
        edits.push_back({anomaly.id, {{"attribute", anomaly.attribute}}, anomaly.version, anomaly.name});
    }
    return edits;
}

std::vector<RowEdit> restorations(const std::vector<SdiffData>& anomalies) {
    std::vector<RowEdit> edits;
    for (const SdiffData& anomaly : anomalies) {
        edits.push_back({anomaly.id, {{kDeletedColumn, std::int64_t{0}}}, anomaly.version});
    }
    return edits;
}

std::vector<SeenRow> asSeen(const std::vector<SdiffData>& anomalies) {
    std::vector<SeenRow> rows;
    for (const SdiffData& anomaly : anomalies) {
        rows.push_back({anomaly.id, anomaly.version});
    }
    return rows;
}

} // namespace

std::optional<RowChanges> AnomalyEdits::classify(const std::vector<SdiffData>& anomalies) {
    return perform(classification(anomalies), [edits = attributesOf(anomalies)](EditTransaction& edit) {
        edit.update(kAnomalyTable, edits);
    });
}

std::optional<RowChanges> AnomalyEdits::remove(const std::vector<SdiffData>& anomalies) {
    return perform(
        QObject::tr("删除 %1 处异常").arg(anomalies.size()),
        [rows = asSeen(anomalies)](EditTransaction& edit) { edit.markDeleted(kAnomalyTable, rows); });
}

std::optional<RowChanges> AnomalyEdits::restore(const std::vector<SdiffData>& anomalies) {
    return perform(
        QObject::tr("恢复 %1 处异常").arg(anomalies.size()),
        [edits = restorations(anomalies)](EditTransaction& edit) { edit.update(kAnomalyTable, edits); });
}

std::optional<RowChanges> AnomalyEdits::perform(const QString& description,
                                                const ProjectHistory::Work& work) {
    RowChanges changes;
    const Status done = m_session.history().perform(description, [&](EditTransaction& edit) {
        work(edit);
        changes = edit.changes();
    });
    if (!done && !done.error().cancelled) {
        m_session.warn(done.error().userMessage);
    }
    return done ? std::optional(std::move(changes)) : std::nullopt;
}

} // namespace inspection
