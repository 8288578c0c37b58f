#include "anomaly/TableLink.h"

#include "host/Gbk.h"
#include "host/inspection/AVWindow.h"
#include "host/inspection/OptionalMembers.h"
#include "plugin/Inspection.h"
#include "plugin/OptionalCall.h"

#include <utility>

TableLink::TableLink(std::function<void(const std::vector<std::string>&)> take) : m_take(std::move(take)) {}

void TableLink::follow() {
    if (hasMember(anomalyTable(), optional_member::kSelectionChanged)) {
        connect(anomalyTable(), SIGNAL(selectionChanged(QStringList)), this, SLOT(onSelection(QStringList)),
                Qt::UniqueConnection);
    }
}

void TableLink::leave() {
    if (hasMember(anomalyTable(), optional_member::kSelectionChanged)) {
        disconnect(anomalyTable(), SIGNAL(selectionChanged(QStringList)), this,
                   SLOT(onSelection(QStringList)));
    }
}

void TableLink::select(const std::vector<std::string>& gbkNames) {
    QStringList names;
    for (const std::string& name : gbkNames) {
        names << fromGbk(name);
    }
    callIfThere(anomalyTable(), optional_member::kSelectByName, names);
}

void TableLink::onSelection(const QStringList& names) {
    std::vector<std::string> gbkNames;
    for (const QString& name : names) {
        gbkNames.push_back(toGbk(name));
    }
    m_take(gbkNames);
}
