#include "workbench/inspectiondata/history/ConflictText.h"

#include "host/Gbk.h"
#include "workbench/inspectiondata/database/Fields.h"
#include "workbench/inspectiondata/database/Inspector.h"

#include <QObject>

namespace inspection {

namespace {

QString whoDid(const std::optional<EditStep>& step, const QString& own) {
    return step && !step->inspector.isEmpty() ? ' ' + shownInspector(step->inspector, own) + ' '
                                              : QObject::tr("其他人");
}

QString whatWasDone(const std::optional<EditStep>& step) {
    return step ? QObject::tr("（%1）").arg(step->description) : QString();
}

QString quoted(const QString& name) {
    return QObject::tr("“%1”").arg(name);
}

QString nameIn(const std::optional<mysqlhelper::KV_Record>& row) {
    std::string name;
    if (row) {
        takeField(*row, "name", name);
    }
    return fromGbk(name);
}

/// The name that a deleted row had; empty when that is not known any more.
QString nameOf(const EditConflict& conflict, const std::optional<EditStep>& step) {
    if (step && conflict.name.empty()) {
        for (const RowChange& change : step->changes) {
            if (change.table == conflict.table && change.id == conflict.id && change.before) {
                return nameIn(change.before);
            }
        }
    }
    return fromGbk(conflict.name);
}

QString nameOrId(const QString& name, const std::string& table, std::int64_t id) {
    return quoted(name.isEmpty() ? QString::fromStdString(table) + ' ' + QString::number(id) : name);
}

} // namespace

QString conflictQuestion(const std::vector<EditConflict>& conflicts, const std::optional<EditStep>& step,
                         const QString& own) {
    QString rows = quoted(fromGbk(conflicts.front().name));
    if (conflicts.size() > 1) {
        rows += QObject::tr("等 %1 项").arg(conflicts.size());
    }
    return QObject::tr("%1已被%2修改%3。是否仍按您的操作保存？")
        .arg(rows, whoDid(step, own), whatWasDone(step));
}

QString goneText(const EditConflict& conflict, const std::optional<EditStep>& step, const QString& own) {
    const QString name = nameOrId(nameOf(conflict, step), conflict.table, conflict.id);
    const QString text =
        step && step->isReplacement ? QObject::tr("%1已被%2重新计算") : QObject::tr("%1已被%2删除");
    return text.arg(name, whoDid(step, own));
}

QString otherText(const RowIsOther& row, const std::optional<EditStep>& step, const QString& own) {
    const RowChange& expected = row.expected();
    const QString name =
        nameOrId(nameIn(expected.before ? expected.before : expected.after), expected.table, expected.id);
    const QString text = row.isGone() ? QObject::tr("%1已被%2删除")
                                      : QObject::tr("%1已被%2修改%3").arg("%1", "%2", whatWasDone(step));
    return text.arg(name, whoDid(step, own));
}

} // namespace inspection
