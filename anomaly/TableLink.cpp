#include "anomaly/TableLink.h"

#include "host/Gbk.h"
#include "host/inspection/AVWindow.h"
#include "host/inspection/IORVAContext.h"
#include "host/inspection/OptionalMembers.h"
#include "plugin/OptionalCall.h"

#include <utility>

namespace {

QObject* table() {
    return IORVAContext::Instance()->GetAVWindow();
}

} // namespace

TableLink::TableLink(std::function<void(const std::vector<std::string>&)> take) : m_take(std::move(take)) {}

void TableLink::follow() {
    if (hasMember(table(), optional_member::kSelectionChanged)) {
        connect(table(), SIGNAL(selectionChanged(QStringList)), this, SLOT(onSelection(QStringList)),
                Qt::UniqueConnection);
    }
}

void TableLink::leave() {
    if (hasMember(table(), optional_member::kSelectionChanged)) {
        disconnect(table(), SIGNAL(selectionChanged(QStringList)), this, SLOT(onSelection(QStringList)));
    }
}

void TableLink::select(const std::vector<std::string>& gbkNames) {
    QStringList names;
    for (const std::string& name : gbkNames) {
        names << fromGbk(name);
    }
    callIfThere(table(), optional_member::kSelectByName, names);
}

void TableLink::onSelection(const QStringList& names) {
    std::vector<std::string> gbkNames;
    for (const QString& name : names) {
        gbkNames.push_back(toGbk(name));
    }
    m_take(gbkNames);
}
