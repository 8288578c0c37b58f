#pragma once

#include <QHash>
#include <QStringList>
#include <QTreeWidget>

#include <cstdint>
#include <functional>
#include <map>
#include <vector>

namespace inspection {

/// What of the stations the user has chosen, by name.
struct StationChoice {
    QStringList checked;
    QStringList selected;
    bool isWholeLine = false; ///< their group is selected
};

/// The tree of stations and special objects with its check boxes: a click on a box with Shift sets all boxes
/// from the last one set up to it, of entries that are listed; several stations are selected as in any list, or by their group; special objects are renamed with F2 and deleted with Delete; the context
/// menu checks all, none, renames, deletes, or flies there. GUI thread.
class StationTree : public QTreeWidget {
    Q_OBJECT

public:
    enum ItemType { Root = QTreeWidgetItem::UserType, Station, SpecialObject };
    enum Column { NameColumn, CountColumn };
    /// Data roles of an item's id and, for special objects, its object type code.
    static constexpr int kIdRole = Qt::UserRole;
    static constexpr int kObjectTypeRole = Qt::UserRole + 1;
    /// Version of the special object's row that the entry shows.
    static constexpr int kVersionRole = Qt::UserRole + 2;

    explicit StationTree(QWidget* parent = nullptr);

    /// Rebuilt empty, with its four groups.
    void makeGroups();
    QTreeWidgetItem* stationRoot() const { return m_stations; }
    /// The group of an object type code; null for another code.
    QTreeWidgetItem* objectRoot(int objectType) const;

    QTreeWidgetItem* addStation(std::uint32_t id, const QString& name);
    QTreeWidgetItem* addObject(int objectType, std::uint32_t id, const QString& name);
    void removeObject(QTreeWidgetItem* item);
    QTreeWidgetItem* station(std::uint32_t id) const;
    /// Ids of the checked stations in tree order.
    std::vector<std::uint32_t> checkedStations() const;
    /// Ids of the selected ones in tree order; of all of them while their group is selected.
    std::vector<std::uint32_t> selectedStations() const;
    /// Selects these and no others, the first of them being the current entry.
    void selectStations(const std::vector<std::uint32_t>& ids);
    StationChoice choice() const;
    /// Names that there are no more are passed over.
    void setChoice(const StationChoice& choice);
    /// Ticks stations; ids that there are not are passed over.
    void check(const std::vector<std::uint32_t>& ids);
    /// Sets the boxes of all entries of a group, listed or not.
    void checkAllOf(QTreeWidgetItem& group, Qt::CheckState state);
    /// Shows a name without announcing it as a change.
    void setName(QTreeWidgetItem* item, const QString& name);
    /// Notes which version of an object's row the entry shows.
    void setVersion(QTreeWidgetItem* item, qint64 version);
    /// What stands in the column of counts, of these stations; the group's figure follows.
    void setCounts(const std::map<std::uint32_t, QString>& texts);

    /// Lists only the stations and special objects that `isWanted`; groups stay. What is hidden keeps its tick.
    void showOnly(const std::function<bool(const QTreeWidgetItem& entry)>& isWanted);
    /// Goes to the first station or object that is listed, unless the current entry is listed itself.
    void goToListed();

public slots:
    /// Stations only, those that are listed.
    void checkAll();
    void checkNone();

signals:
    /// The boxes of these entries, of one group, have been set together: no itemChanged tells of them. Of a box that is set
    /// alone itemChanged does.
    void checkedTogether(const std::vector<QTreeWidgetItem*>& entries);
    /// The user has begun to write a name there.
    void editorOpened(QWidget* editor);
    void flyRequested(QTreeWidgetItem* item);
    /// Of a special object.
    void deleteRequested(QTreeWidgetItem* item);

protected:
    void mouseReleaseEvent(QMouseEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void contextMenuEvent(QContextMenuEvent* event) override;
    using QTreeWidget::edit;
    bool edit(const QModelIndex& index, EditTrigger trigger, QEvent* event) override;

private slots:
    void extendCheck(QTreeWidgetItem* item, int column);

private:
    using Entries = std::vector<QTreeWidgetItem*>;

    QTreeWidgetItem* addGroup(const QString& title, bool expanded);
    void checkStations(Qt::CheckState state);
    void checkListed(QTreeWidgetItem& group, int first, int last, Qt::CheckState state);
    /// `entries` are of the group, in its order.
    void setChecks(const QTreeWidgetItem& group, const Entries& entries, Qt::CheckState state);
    QString countOfAll() const;

    QTreeWidgetItem* m_stations = nullptr;
    QHash<std::uint32_t, QTreeWidgetItem*> m_stationById;
    QTreeWidgetItem* m_points = nullptr;
    QTreeWidgetItem* m_areas = nullptr;
    QTreeWidgetItem* m_polygons = nullptr;
    QTreeWidgetItem* m_lastChecked = nullptr;
    bool m_shiftHeld = false;
};

} // namespace inspection
