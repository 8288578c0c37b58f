#pragma once

#include "host/Export.h"
#include "host/inspection/Station.h"

#include <QWidget>

/// Old and new picture of an anomaly: both epochs of the same ground side by side. GUI thread.
class INSPECTION_API KVImageWindow : public QWidget {
    Q_OBJECT

public:
    explicit KVImageWindow(QWidget* parent = nullptr);
    ~KVImageWindow() override;

    /// Shows the surroundings of the anomaly `zoom` of `item`; a record without extent shows the whole
    /// station. Returns before the pictures are read. Neither argument need live longer than the call.
    virtual void CreatZoomItem(KV_StationItem* item, const SdiffData& zoom) = 0;
};
