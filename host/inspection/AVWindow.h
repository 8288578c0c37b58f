#pragma once

#include "host/Export.h"
#include "host/inspection/Station.h"

#include <QString>
#include <QWidget>

#include <vector>

/// The table of anomalies of one station item, the current item. GUI thread.
class INSPECTION_API AVWindow : public QWidget {
    Q_OBJECT

public:
    explicit AVWindow(QWidget* parent = nullptr);
    ~AVWindow() override;

    /// The window's own copy of the current item; never null, with station id 0 while there is none.
    virtual KV_StationItem* GetCurrentItem() = 0;
    /// Copies `item` into the current item. The rows stay as they are: another item is shown by Refresh,
    /// SetCurrentItem and AddData, in this order.
    virtual void SetCurrentItem(const KV_StationItem& item) = 0;
    /// Clears the table for another item.
    virtual void Refresh() = 0;
    /// Fills the table from the current item.
    virtual void AddData() = 0;
    /// Selects the anomaly of `item` at (x, y) of its station's reference system and scrolls to it. Does
    /// nothing where there is none, or when the table shows another station.
    virtual void SetSelectedbycoor(KV_StationItem* item, double x, double y) = 0;
    /// Stores the attributes of `anomalies` in one transaction and shows them, in the records of `item` as
    /// well. An edit of the history. When it is refused nothing is changed, and the user has been told.
    virtual void SetItemAtrii(KV_StationItem* item, const std::vector<SdiffData>& anomalies) = 0;
    /// Deletes `anomalies` in one transaction, with their overlays and rows, and takes them out of `item`.
    /// An edit of the history; refused as above.
    virtual void DeleteItems(KV_StationItem* item, const std::vector<SdiffData>& anomalies) = 0;

    /// Emit msg_undo or msg_redo with the text.
    void sent_msg_undo(QString text);
    void sent_msg_redo(QString text);

signals:
    /// An edit can be undone; its description, or empty when only the buttons are to be refreshed. Emitted
    /// for each new undoable edit as well.
    void msg_undo(QString text);
    /// An edit can be redone; its description or empty.
    void msg_redo(QString text);
};
