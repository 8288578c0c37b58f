#include "workbench/inspection/windows/ImageWindow.h"

#include "host/Gbk.h"
#include "workbench/inspection/context/Session.h"
#include "workbench/inspection/database/StationTable.h"
#include "workbench/inspection/windows/AnomalyTexts.h"
#include "workbench/inspection/windows/DifferencePane.h"
#include "workbench/inspection/windows/GroundView.h"
#include "workbench/inspection/windows/OutlinePath.h"
#include "workbench/inspection/windows/OverlayPicture.h"

#include <QDir>
#include <QGridLayout>
#include <QLabel>

#include <algorithm>
#include <cmath>

namespace inspection {

namespace {

constexpr int kSettleMilliseconds = 80;
constexpr double kSurroundings = 1.8; ///< what is shown, as a multiple of the anomaly's bounds
constexpr double kLeastSurroundingMetres = 12.0;
constexpr double kReadAhead = 0.4;       ///< read beyond each side of what is visible, as part of it
constexpr double kCoarserThanView = 1.6; ///< pictures coarser than the view by this are read again
constexpr int kMostPixels = 2400;

QRectF grownTo(const QRectF& ground, double leastMetres) {
    const double x = std::max(0.0, (leastMetres - ground.width()) / 2.0);
    const double y = std::max(0.0, (leastMetres - ground.height()) / 2.0);
    return ground.adjusted(-x, -y, x, y);
}

QRectF stationGround(const KV_Station& station) {
    return {QPointF(station.m_xMin, station.m_yMin), QPointF(station.m_xMax, station.m_yMax)};
}

QRectF anomalyGround(const SdiffData& anomaly) {
    return {QPointF(anomaly.xMin, anomaly.yMin), QPointF(anomaly.xMax, anomaly.yMax)};
}

/// Through the middle, along the longer side, a quarter of its length further to either side.
QLineF lineAcross(const QRectF& ground) {
    const QPointF half = ground.width() >= ground.height() ? QPointF(ground.width() * 0.75, 0.0)
                                                           : QPointF(0.0, ground.height() * 0.75);
    return {ground.center() - half, ground.center() + half};
}

} // namespace

ImageWindow::ImageWindow(Session& session, QWidget* parent)
    : KVImageWindow(parent), m_session(session), m_view(new GroundView(this)), m_caption(new QLabel),
      m_oldPane(new PicturePane(*m_view, tr("前期"))), m_newPane(new PicturePane(*m_view, tr("后期"))),
      m_differencePane(new DifferencePane(*m_view)), m_profile(new ProfileChart) {
    m_readers.setMaxThreadCount(1);
    m_settle.setSingleShot(true);
    m_settle.setInterval(kSettleMilliseconds);
    build();
    clear();
    connect(&m_settle, SIGNAL(timeout()), this, SLOT(readVisible()));
    connect(m_view, SIGNAL(changed()), this, SLOT(scheduleRead()));
    for (PicturePane* pane : {m_oldPane, m_newPane, static_cast<PicturePane*>(m_differencePane)}) {
        connect(pane, SIGNAL(fitRequested()), this, SLOT(fit()));
    }
}

ImageWindow::~ImageWindow() {
    ++m_generation;
    m_readers.clear();
    m_readers.waitForDone();
}

void ImageWindow::build() {
    m_caption->setObjectName("imageCaption");
    m_caption->setWordWrap(true);
    m_caption->setTextInteractionFlags(Qt::TextSelectableByMouse);
    m_oldPane->setObjectName("oldPane");
    m_newPane->setObjectName("newPane");
    m_differencePane->setObjectName("differencePane");
    m_profile->setObjectName("profileChart");

    auto* grid = new QGridLayout(this);
    grid->setContentsMargins(6, 6, 6, 6);
    grid->setSpacing(4);
    grid->addWidget(m_caption, 0, 0, 1, 2);
    grid->addWidget(m_oldPane, 1, 0);
    grid->addWidget(m_newPane, 1, 1);
    grid->addWidget(m_differencePane, 2, 0, 1, 2);
    grid->addWidget(m_profile, 3, 0, 1, 2);
    grid->setRowStretch(1, 5);
    grid->setRowStretch(2, 4);
    grid->setRowStretch(3, 3);
}

void ImageWindow::clear() {
    ++m_generation;
    m_settle.stop();
    m_readingPictures = false;
    m_readAgain = false;
    m_subject = QRectF();
    m_loadedGround = QRectF();
    m_caption->setText(tr("双击异常，在此对比两期影像"));
    for (PicturePane* pane : {m_oldPane, m_newPane, static_cast<PicturePane*>(m_differencePane)}) {
        pane->setPicture({}, {}, tr("未选择异常"));
        pane->setOutline({});
        pane->setProfileLine({});
    }
    m_profile->setProfile({}, tr("未选择异常"));
}

void ImageWindow::CreatZoomItem(KV_StationItem* item, const SdiffData& zoom) {
    if (item == nullptr || m_session.project() == nullptr) {
        return;
    }
    clear();
    const bool hasExtent = zoom.xMax > zoom.xMin && zoom.yMax > zoom.yMin;
    m_subject = hasExtent ? anomalyGround(zoom) : stationGround(item->m_station);
    m_source = sourceOf(*item, zoom);
    m_differencePane->setRamp(m_source.ramp);
    m_profile->setColours(m_source.ramp.fill, m_source.ramp.cut);
    describe(*item, zoom);

    const QPainterPath outline = outlinePath(zoom.outlineWkt);
    for (PicturePane* pane : {m_oldPane, m_newPane, static_cast<PicturePane*>(m_differencePane)}) {
        pane->setPicture({}, {}, tr("正在读取…"));
        pane->setOutline(outline);
    }
    fit();
    m_settle.stop();
    readVisible();
    setProfileLine(lineAcross(m_subject));
}

ComparisonSource ImageWindow::sourceOf(const KV_StationItem& item, const SdiffData& zoom) const {
    const ProjectDescription& project = m_session.project()->description();
    ComparisonSource source;
    source.srs = QString::fromStdString(item.m_station.m_srs);
    source.oldEpoch = project.oldEpoch();
    source.newEpoch = project.newEpoch();
    double largestMetres = std::abs(largestDifferenceMetres(zoom));
    for (const SdiffData& anomaly : item.m_diffData.m_anomalies) {
        if (zoom.name.empty()) {
            largestMetres = std::max(largestMetres, std::abs(largestDifferenceMetres(anomaly)));
        }
    }
    source.ramp = {project.parameters.fillColour, project.parameters.cutColour, scaleEndMetres(largestMetres),
                   0.0};
    try {
        if (const auto result = readStationResult(*m_session.connection(), item.GetStationId())) {
            source.dzRaster = QDir(project.folder).filePath(result->dzRaster);
            source.shift = {result->dxMetres, result->dyMetres, result->dzMetres};
        }
    } catch (const mysqlhelper::KV_MySQL_Exception&) {
        source.dzRaster.clear(); // reading stays silent: the pane says that there is nothing computed
    }
    return source;
}

void ImageWindow::describe(const KV_StationItem& item, const SdiffData& zoom) {
    const QString station = fromGbk(item.m_station.m_name);
    if (zoom.name.empty()) {
        m_caption->setText(station);
        return;
    }
    m_caption->setText(tr("%1 · %2：%3，面积 %4 m²，体积 %5 m³，dZ %6 m")
                           .arg(station, fromGbk(zoom.name), kindText(zoom),
                                figureText(zoom.areaSquareMetres), figureText(zoom.volumeCubicMetres()),
                                differenceText(zoom.dzMeanMetres)));
}

void ImageWindow::setProfileLine(const QLineF& ground) {
    for (PicturePane* pane : {m_oldPane, m_newPane, static_cast<PicturePane*>(m_differencePane)}) {
        pane->setProfileLine(ground);
    }
    m_profile->setProfile({}, tr("正在读取…"));
    readProfileOf(ground);
}

template<typename Read, typename Done>
void ImageWindow::readBeside(const Read& read, const Done& done) {
    ++m_pendingReads;
    m_readers.start([this, read, done, generation = m_generation] {
        const auto result = read();
        QMetaObject::invokeMethod(
            this,
            [this, result, done, generation] {
                --m_pendingReads;
                if (generation == m_generation) {
                    done(result);
                }
                if (!isReading()) {
                    emit shown();
                }
            },
            Qt::QueuedConnection);
    });
}

void ImageWindow::readProfileOf(const QLineF& line) {
    readBeside(
        [source = m_source, line] { return readProfile(source, line); },
        [this](const ElevationProfile& profile) { m_profile->setProfile(profile, tr("高程无法读取")); });
}

void ImageWindow::fit() {
    if (m_subject.isEmpty()) {
        return;
    }
    const QPointF room(m_subject.width() * (kSurroundings - 1.0) / 2.0,
                       m_subject.height() * (kSurroundings - 1.0) / 2.0);
    m_view->show(
        grownTo(m_subject.adjusted(-room.x(), -room.y(), room.x(), room.y()), kLeastSurroundingMetres),
        m_oldPane->size());
}

void ImageWindow::scheduleRead() {
    if (!m_subject.isEmpty()) {
        m_settle.start();
    }
}

void ImageWindow::resizeEvent(QResizeEvent* event) {
    KVImageWindow::resizeEvent(event);
    scheduleRead();
}

void ImageWindow::readVisible() {
    if (m_readingPictures) {
        m_readAgain = true;
        return;
    }
    // The differences lie in the widest pane; what fills it fills the others, too.
    const QSize pane = m_differencePane->size().expandedTo(m_oldPane->size());
    const QRectF visible = m_view->toPane(pane).inverted().mapRect(QRectF(QPointF(), QSizeF(pane)));
    const bool covered = m_loadedGround.contains(visible);
    if (covered && m_loadedMetresPerPixel <= m_view->metresPerPixel() * kCoarserThanView) {
        emit shown();
        return;
    }
    const QPointF ahead(visible.width() * kReadAhead, visible.height() * kReadAhead);
    const QRectF ground = visible.adjusted(-ahead.x(), -ahead.y(), ahead.x(), ahead.y());
    const double wanted = ground.width() / m_view->metresPerPixel() * devicePixelRatioF();
    const double scale =
        std::min(1.0, kMostPixels / std::max(wanted, wanted * ground.height() / ground.width()));
    const QSize pixels(std::max(1, static_cast<int>(wanted * scale)),
                       std::max(1, static_cast<int>(wanted * scale * ground.height() / ground.width())));
    m_readingPictures = true;
    readBeside([source = m_source, ground, pixels] { return readComparison(source, ground, pixels); },
               [this](const ComparisonPictures& pictures) { take(pictures); });
}

void ImageWindow::take(const ComparisonPictures& pictures) {
    m_readingPictures = false;
    m_loadedGround = pictures.ground;
    m_loadedMetresPerPixel =
        pictures.ground.width() /
        std::max(1, std::max(pictures.oldEpoch.picture.width(), pictures.newEpoch.picture.width()));
    const auto put = [&](PicturePane& pane, const EpochPicture& epoch) {
        pane.setTitle(epoch.title);
        pane.setPicture(epoch.picture, pictures.ground, epoch.reason);
    };
    put(*m_oldPane, pictures.oldEpoch);
    put(*m_newPane, pictures.newEpoch);
    put(*m_differencePane, pictures.difference);
    if (m_readAgain) { // the view moved on meanwhile
        m_readAgain = false;
        readVisible();
    }
}

} // namespace inspection
