#pragma once

#include "host/inspection/KVImageWindow.h"
#include "workbench/inspection/windows/ComparisonPictures.h"

#include <QThreadPool>
#include <QTimer>

class QLabel;

namespace inspection {

class DifferencePane;
class GroundView;
class PicturePane;
class Session;

/// Old and new orthophoto of an anomaly side by side, its elevation differences, and the elevations of both
/// epochs along a line across it. The pictures pan and zoom together and are read beside the GUI thread. GUI
/// thread.
class ImageWindow : public KVImageWindow {
    Q_OBJECT

public:
    /// `session` must outlive the window.
    explicit ImageWindow(Session& session, QWidget* parent = nullptr);
    ~ImageWindow() override;

    void CreatZoomItem(KV_StationItem* item, const SdiffData& zoom) override;
    /// True while pictures or a profile are being read.
    bool isReading() const { return m_pendingReads != 0 || m_settle.isActive(); }

public slots:
    /// Shows nothing, as when the project is closed.
    void clear();

signals:
    /// Everything that was asked for is shown.
    void shown();

protected:
    void resizeEvent(QResizeEvent* event) override;

private slots:
    void fit();
    void scheduleRead();
    void readVisible();

private:
    void build();
    ComparisonSource sourceOf(const KV_StationItem& item, const SdiffData& zoom) const;
    void describe(const KV_StationItem& item, const SdiffData& zoom);
    void setProfileLine(const QLineF& ground);
    void readProfileOf(const QLineF& line);
    void take(const ComparisonPictures& pictures);
    /// Runs `read` beside the GUI thread and `done` with its result on it, unless something else is shown by
    /// then.
    template<typename Read, typename Done>
    void readBeside(const Read& read, const Done& done);

    Session& m_session;
    GroundView* m_view;
    QLabel* m_caption;
    PicturePane* m_oldPane;
    PicturePane* m_newPane;
    DifferencePane* m_differencePane;
    ProfileChart* m_profile;
    ComparisonSource m_source;
    QRectF m_subject;      ///< ground of the anomaly or station; empty while nothing is shown
    QRectF m_loadedGround; ///< what the pictures cover
    double m_loadedMetresPerPixel = 0.0;
    quint64 m_generation = 0;
    int m_pendingReads = 0;
    bool m_readingPictures = false; ///< of the present generation
    bool m_readAgain = false;
    QTimer m_settle;
    QThreadPool m_readers;
};

} // namespace inspection
