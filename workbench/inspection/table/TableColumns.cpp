#include "workbench/inspection/table/TableColumns.h"

#include "workbench/inspectiondata/project/LocalSettings.h"

#include <QEvent>
#include <QHeaderView>
#include <QMenu>
#include <QTableView>

#include <algorithm>

namespace inspection {

namespace {

constexpr int kWidestCharacters = 30;
constexpr int kLeastAttributeCharacters = 16; // what an inspector writes most
constexpr auto kColumnsKey = "anomalyColumns";

/// Which columns the user wanted last, in whatever project: those that he has switched on or off, by their titles.
bool wasWanted(int column) {
    const AnomalyColumn& shown = anomalyColumn(column);
    return LocalSettings()
        .value(QStringLiteral("anomalyColumns/") + shown.title, !shown.isHiddenAtFirst)
        .toBool();
}

int columnOf(const QString& title) {
    const auto& columns = anomalyColumns();
    const auto found = std::find_if(columns.begin(), columns.end(),
                                    [&](const AnomalyColumn& column) { return column.title == title; });
    return found == columns.end() ? -1 : static_cast<int>(found - columns.begin());
}

} // namespace

TableColumns::TableColumns(QTableView& table) : QObject(&table), m_table(table) {
    QHeaderView* head = m_table.horizontalHeader();
    head->setSectionsMovable(true);
    head->setFirstSectionMovable(false); // the name, without which nobody knows what a row is about
    head->setContextMenuPolicy(Qt::CustomContextMenu);
    head->viewport()->installEventFilter(this);
    connect(head, &QWidget::customContextMenuRequested, this, &TableColumns::showMenu);
    connect(head, &QHeaderView::sectionResized, this,
            [this](int column, int /*before*/, int width) { takeWidth(column, width); });
    connect(head, &QHeaderView::sectionMoved, this, [this] {
        if (m_isDragging) {
            keep();
        }
    });
    reset();
}

void TableColumns::useProject(const QString& folder) {
    m_project = folder;
    reset();
    restore();
    fit();
}

void TableColumns::reset() {
    QHeaderView* head = m_table.horizontalHeader();
    m_widths.fill(0);
    for (int column = 0; column < AnomalyColumn::Count; ++column) {
        m_isWanted.at(static_cast<std::size_t>(column)) = wasWanted(column);
        head->moveSection(head->visualIndex(column), column);
    }
    head->moveSection(head->visualIndex(AnomalyColumn::Station), 1);
    head->moveSection(head->visualIndex(AnomalyColumn::Chainage), 2);
    hideUnwanted();
}

void TableColumns::restore() {
    QHeaderView* head = m_table.horizontalHeader();
    LocalSettings kept(m_project);
    const int count = kept.beginReadArray(kColumnsKey);
    for (int i = 0; i < count; ++i) {
        kept.setArrayIndex(i);
        const int column = columnOf(kept.value("title").toString());
        if (column >= 0) {
            head->moveSection(head->visualIndex(column), std::min(i, head->count() - 1));
            m_isWanted.at(static_cast<std::size_t>(column)) = kept.value("shown").toBool();
            m_widths.at(static_cast<std::size_t>(column)) = kept.value("width").toInt();
        }
    }
    hideUnwanted();
}

void TableColumns::keep() const {
    if (m_project.isEmpty()) {
        return;
    }
    const QHeaderView* head = m_table.horizontalHeader();
    LocalSettings kept(m_project);
    kept.beginWriteArray(kColumnsKey, AnomalyColumn::Count);
    for (int place = 0; place < AnomalyColumn::Count; ++place) {
        const int column = head->logicalIndex(place);
        kept.setArrayIndex(place);
        kept.setValue("title", anomalyColumn(column).title);
        kept.setValue("shown", m_isWanted.at(static_cast<std::size_t>(column)));
        kept.setValue("width", m_widths.at(static_cast<std::size_t>(column)));
    }
    kept.endArray();
}

void TableColumns::setSeveralStations(bool areSeveral) {
    m_hasSeveralStations = areSeveral;
    hideUnwanted();
}

void TableColumns::hideUnwanted() {
    for (int column = 0; column < AnomalyColumn::Count; ++column) {
        const bool isUseless = column == AnomalyColumn::Station && !m_hasSeveralStations;
        m_table.setColumnHidden(column, isUseless || !m_isWanted.at(static_cast<std::size_t>(column)));
    }
}

void TableColumns::fit() {
    m_table.resizeColumnsToContents();
    const int character = m_table.fontMetrics().averageCharWidth();
    for (int column = 0; column < AnomalyColumn::Count; ++column) {
        if (m_table.isColumnHidden(column)) {
            continue;
        }
        const int least = column == AnomalyColumn::Attribute ? kLeastAttributeCharacters * character : 0;
        const int chosen = m_widths.at(static_cast<std::size_t>(column));
        const int fitting = std::clamp(m_table.columnWidth(column), least, kWidestCharacters * character);
        m_table.setColumnWidth(column, chosen > 0 ? chosen : fitting);
    }
}

std::vector<int> TableColumns::shown() const {
    std::vector<int> columns;
    for (int place = 0; place < AnomalyColumn::Count; ++place) {
        const int column = m_table.horizontalHeader()->logicalIndex(place);
        if (!m_table.isColumnHidden(column)) {
            columns.push_back(column);
        }
    }
    return columns;
}

bool TableColumns::eventFilter(QObject* object, QEvent* event) {
    if (event->type() == QEvent::MouseButtonPress) {
        m_isDragging = true;
    } else if (event->type() == QEvent::MouseButtonRelease && m_isDragging) {
        m_isDragging = false;
        QMetaObject::invokeMethod(this, [this] { keep(); }, Qt::QueuedConnection); // once the head has moved
    }
    return QObject::eventFilter(object, event);
}

// The last column takes what room is left.
void TableColumns::takeWidth(int column, int width) {
    if (m_isDragging && width > 0 && column != shown().back()) {
        m_widths.at(static_cast<std::size_t>(column)) = width;
    }
}

void TableColumns::showMenu(const QPoint& place) {
    QMenu menu(&m_table);
    menu.setObjectName("anomalyColumnMenu");
    for (int column = AnomalyColumn::Name + 1; column < AnomalyColumn::Count; ++column) {
        QAction* action = menu.addAction(anomalyColumn(column).title);
        action->setCheckable(true);
        action->setChecked(m_isWanted.at(static_cast<std::size_t>(column)));
        connect(action, &QAction::toggled, this, [this, column](bool isWanted) { show(column, isWanted); });
    }
    menu.addSeparator();
    menu.addAction(tr("恢复默认列序和列宽"), this, [this] {
        reset();
        fit();
        keep();
    });
    menu.exec(m_table.horizontalHeader()->mapToGlobal(place));
}

void TableColumns::show(int column, bool isWanted) {
    m_isWanted.at(static_cast<std::size_t>(column)) = isWanted;
    LocalSettings().setValue(QStringLiteral("anomalyColumns/") + anomalyColumn(column).title, isWanted);
    hideUnwanted();
    fit();
    keep();
}

} // namespace inspection
