#pragma once

#include "host/inspection/KVImageWindow.h"
#include "workbench/inspection/images/ComparisonPictures.h"
#include "workbench/inspection/images/LatestRead.h"
#include "workbench/inspectiondata/database/RowChange.h"
#include "workbench/inspectiondata/pipeline/Pipeline.h"

#include <QTimer>

#include <array>
#include <optional>

class EmptyHint;
class QStackedWidget;
class QToolButton;

namespace inspection {

class DifferencePane;
class ElidedLabel;
class GroundPane;
class GroundView;
class PicturePane;
class Session;
class SwipePane;

/// Old and new orthophoto of an anomaly, side by side or with a divider to swipe between them, its elevation
/// differences, and the elevations of both epochs along a line across it, which the user can drag. The
/// pictures pan and zoom together and are read beside the GUI thread. GUI thread.
class ImageWindow : public KVImageWindow {
    Q_OBJECT

public:
    /// `session` must outlive the window.
    explicit ImageWindow(Session& session, QWidget* parent = nullptr);
    ~ImageWindow() override;

    void CreatZoomItem(KV_StationItem* item, const SdiffData& zoom) override;
    /// True while pictures or a profile are being read.
    bool isReading() const;
    /// True when nothing is read any more, not even the surroundings of what is shown.
    bool isComplete() const { return !isReading() && !m_readAround.isActive(); }

    /// The project's centre line, which is drawn over the pictures.
    void setPipeline(const Pipeline& pipeline) { m_pipeline = pipeline; }

public slots:
    /// Shows nothing, as when the project is closed.
    void clear();
    /// Shows nothing any more of an anomaly that was deleted.
    void applyRows(const RowChanges& changes);
    /// The same after anomalies were replaced as a whole.
    void dropWhatIsGone();

protected:
    void resizeEvent(QResizeEvent* event) override;

private slots:
    void fit();
    void scheduleRead();
    void readVisible();
    void readAround();
    void setSwiping(bool swiping);
    void setProfileLine(const QLineF& ground);
    void pointAlongProfile(double share);
    void pointNowhere();

private:
    struct PictureRequest {
        QRectF ground;
        double metresPerPixel = 0.0;
    };

    void build();
    QWidget* makeHeader();
    std::array<GroundPane*, 4> panes() const;
    ComparisonSource sourceOf(const KV_StationItem& item, const SdiffData& zoom) const;
    void describe(const KV_StationItem& item, const SdiffData& zoom);
    void showPictures(const ComparisonPictures& pictures);
    /// The same notice in place of all pictures.
    void showNotice(const QString& text);
    QSize comparisonSize() const;
    QRectF visibleGround() const;
    void read(const QRectF& ground);

    Session& m_session;
    GroundView* m_view;
    ElidedLabel* m_caption;
    QToolButton* m_sideBySide;
    QToolButton* m_swipe;
    QStackedWidget* m_comparison;
    PicturePane* m_oldPane;
    PicturePane* m_newPane;
    SwipePane* m_swipePane;
    DifferencePane* m_differencePane;
    ProfileChart* m_profile;
    EmptyHint* m_hint = nullptr; ///< over all of them while nothing is shown
    Pipeline m_pipeline;
    ComparisonSource m_source;
    std::int64_t m_anomalyId = 0; ///< of the anomaly that is shown, 0 for none
    QRectF m_subject;             ///< ground of the anomaly or station; null while nothing is shown
    QLineF m_profileLine;
    std::optional<PictureRequest> m_asked; ///< the latest pictures that were asked for
    QTimer m_settle;
    QTimer m_readAround;
    LatestRead m_pictureRead;
    LatestRead m_profileRead;
};

} // namespace inspection
