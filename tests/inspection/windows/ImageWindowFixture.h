#pragma once

#include "tests/inspection/windows/WindowFixture.h"
#include "workbench/inspection/images/GroundView.h"
#include "workbench/inspection/images/ImageWindow.h"

#include <QImage>

/// The image window of a computed project.
class ImageWindowTest : public InspectionWindowTest {
protected:
    void openRichest();
    const SdiffData& anomaly() const { return m_item->m_diffData.m_anomalies.at(0); }
    /// Computes, shows the first anomaly of the richest station, and waits for its pictures.
    void showAnomaly();

    inspection::ImageWindow& images() { return *m_window->findChild<inspection::ImageWindow*>(); }
    inspection::GroundView& view() { return *images().findChild<inspection::GroundView*>(); }
    QWidget& pane(const char* name) { return *m_window->findChild<QWidget*>(name); }
    bool shown() {
        return waitUntil([this] { return !images().isReading(); });
    }
    static QImage pictureOf(QWidget& pane) { return pane.grab().toImage(); }
    /// Different colours in a pane.
    static int colours(QWidget& pane);
    /// Where a place on the ground is in a pane.
    QPoint pixelOf(QWidget& pane, const QPointF& ground);
    /// The line that a newly shown anomaly has.
    QLineF firstLine() const;

    KV_StationItem* m_item = nullptr;
};
