#include "workbench/inspectiondata/history/ConflictText.h"

#include "host/Gbk.h"
#include "workbench/inspectiondata/database/Fields.h"
#include "workbench/inspectiondata/database/Inspector.h"

#include <QObject>

namespace inspection {

namespace {

QString whoDid(const std::optional<EditStep>& step) {
    return step && !step->inspector.isEmpty() ? ' ' + shownInspector(step->inspector) + ' '
                                              : QObject::tr("其他人");
}

QString quoted(const QString& name) {
    return QObject::tr("“%1”").arg(name);
}

/// The name that a deleted row had; its table and id when that is not known any more.
QString nameOf(const EditConflict& conflict, const std::optional<EditStep>& step) {
    if (!conflict.name.empty()) {
        return quoted(fromGbk(conflict.name));
    }
    if (step) {
        for (const RowChange& change : step->changes) {
            if (change.table == conflict.table && change.id == conflict.id && change.before) {
                std::string name;
                takeField(*change.before, "name", name);
                return quoted(fromGbk(name));
            }
        }
    }
    return quoted(QString::fromStdString(conflict.table) + ' ' + QString::number(conflict.id));
}

} // namespace

QString conflictQuestion(const std::vector<EditConflict>& conflicts, const std::optional<EditStep>& step) {
    QString rows = quoted(fromGbk(conflicts.front().name));
    if (conflicts.size() > 1) {
        rows += QObject::tr("等 %1 项").arg(conflicts.size());
    }
    const QString what = step ? QObject::tr("（%1）").arg(step->description) : QString();
    return QObject::tr("%1已被%2修改%3。是否仍按您的操作保存？").arg(rows, whoDid(step), what);
}

QString goneText(const EditConflict& conflict, const std::optional<EditStep>& step) {
    return QObject::tr("%1已被%2删除，您的修改未保存").arg(nameOf(conflict, step), whoDid(step));
}

} // namespace inspection
