#pragma once

#include "host/Export.h"
#include "host/inspection/Records.h"
#include "host/inspection/Station.h"

#include <QString>
#include <QWidget>

#include <string>
#include <vector>

/// The tree of stations and special objects, and the work on whole stations. GUI thread.
class INSPECTION_API StationWindow : public QWidget {
    Q_OBJECT

public:
    explicit StationWindow(QWidget* parent = nullptr);
    ~StationWindow() override;

    /// Computes the anomalies of the stations that are checked, beside the GUI thread, with progress and
    /// cancel. The previous results are replaced only on success. Says so when nothing is checked or work is
    /// already going on.
    virtual void PickCurrentShowItemsDiff() = 0;
    /// Writes the inspection report; asks for the file unless one was set by the host. Returns while the
    /// writing goes on.
    virtual void OutPutReport() = 0;
    /// Writes the shape output; asks for the folder unless one was set by the host. Returns as above.
    virtual void OutPutShap() = 0;

    /// The checked stations in tree order. The pointers hold until the next change of the tree.
    virtual std::vector<KV_StationItem*> GetSelectedStationItem() = 0;
    /// True when the item is computed, checked, and its anomalies, if there are any, are shown on the globe.
    virtual bool IsDiffChecked(const KV_StationItem* item) const = 0;
    /// Makes the item the one whose anomalies the table shows; false when its anomalies cannot be read.
    virtual bool SetcurrentdiffSelected(KV_StationItem* item) = 0;

    /// True when a special object of that name exists, of whatever type.
    virtual bool isReiterated_node(const QString& name) const = 0;
    /// Store a new object and enter it in the tree. The caller shows it on the globe. False when it was
    /// refused; nothing is stored then, and the user has been told when it was the database. An empty name,
    /// or one that is taken, is refused.
    virtual bool AddPointNode(const Special_Point& point) = 0;
    virtual bool AddAreaNode(const Special_Polygon& area) = 0;
    /// Deletes the stored object of that name and type code. False when it was refused; nothing is changed
    /// then.
    virtual bool DeleteNode(const QString& name, int type) = 0;
    /// Store an edited record under its id and rename its tree entry; `oldName` (GBK) is what the tree calls
    /// it. False when the old name is unknown or the database refused; nothing is changed then.
    virtual bool UpdataNode(const Special_Polygon& polygon, const std::string& oldName) = 0;
    virtual bool UpdataNode(const Special_Area& area, const std::string& oldName) = 0;
    virtual bool UpdataNode(const Special_Point& point, const std::string& oldName) = 0;
};
