#include "workbench/inspection/images/ImageWindow.h"

#include "host/Gbk.h"
#include "workbench/inspection/images/DifferencePane.h"
#include "workbench/inspection/images/ElidedLabel.h"
#include "workbench/inspection/images/GroundView.h"
#include "workbench/inspection/images/SwipePane.h"
#include "workbench/inspection/scene/OverlayPicture.h"
#include "workbench/inspection/session/Log.h"
#include "workbench/inspection/session/Session.h"
#include "workbench/inspectiondata/database/Schema.h"
#include "workbench/inspectiondata/database/StationTable.h"
#include "workbench/inspectiondata/pictures/OutlinePath.h"
#include "workbench/inspectiondata/pictures/PipelinePath.h"
#include "workbench/inspectiondata/text/AnomalyTexts.h"
#include "workbench/style/EmptyHint.h"

#include <QButtonGroup>
#include <QHBoxLayout>
#include <QStackedWidget>
#include <QToolButton>
#include <QVBoxLayout>

#include <algorithm>
#include <cmath>

namespace inspection {

namespace {

constexpr int kSettleMilliseconds = 80;
constexpr int kReadAroundMilliseconds = 300;
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

/// The bounds of an anomaly or a station; null where they enclose no ground.
template<typename Record>
QRectF groundOf(double Record::* xMin, double Record::* yMin, double Record::* xMax, double Record::* yMax,
                const Record& record) {
    const QRectF ground(QPointF(record.*xMin, record.*yMin), QPointF(record.*xMax, record.*yMax));
    return std::isfinite(ground.width() + ground.height()) && ground.isValid() ? ground : QRectF();
}

QRectF subjectOf(const KV_Station& station, const SdiffData& anomaly) {
    const QRectF ground =
        groundOf(&SdiffData::xMin, &SdiffData::yMin, &SdiffData::xMax, &SdiffData::yMax, anomaly);
    return ground.isNull() ? groundOf(&KV_Station::m_xMin, &KV_Station::m_yMin, &KV_Station::m_xMax,
                                      &KV_Station::m_yMax, station)
                           : ground;
}

bool isBent(const detect::Coregistration& coregistration) {
    return coregistration.method == detect::CoregistrationMethod::Local || coregistration.tiltEast != 0.0 ||
           coregistration.tiltNorth != 0.0;
}

/// With room to move the view.
QRectF around(const QRectF& visible) {
    const QPointF ahead(visible.width() * kReadAhead, visible.height() * kReadAhead);
    return visible.adjusted(-ahead.x(), -ahead.y(), ahead.x(), ahead.y());
}

/// As far as anybody moves the view from there.
QRectF farAround(const QRectF& subject) {
    constexpr double kFarMetres = 5000.0;
    return subject.adjusted(-kFarMetres, -kFarMetres, kFarMetres, kFarMetres);
}

/// Through the middle, along the longer side, a quarter of its length further to either side.
QLineF lineAcross(const QRectF& ground) {
    const QPointF half = ground.width() >= ground.height() ? QPointF(ground.width() * 0.75, 0.0)
                                                           : QPointF(0.0, ground.height() * 0.75);
    return {ground.center() - half, ground.center() + half};
}

} // namespace

ImageWindow::ImageWindow(Session& session, QWidget* parent)
    : KVImageWindow(parent), m_session(session), m_view(new GroundView(this)), m_caption(new ElidedLabel),
      m_sideBySide(new QToolButton), m_swipe(new QToolButton), m_comparison(new QStackedWidget),
      m_oldPane(new PicturePane(*m_view)), m_newPane(new PicturePane(*m_view)),
      m_swipePane(new SwipePane(*m_view)), m_differencePane(new DifferencePane(*m_view)),
      m_profile(new ProfileChart) {
    m_settle.setSingleShot(true);
    m_settle.setInterval(kSettleMilliseconds);
    m_readAround.setSingleShot(true);
    m_readAround.setInterval(kReadAroundMilliseconds);
    build();
    clear();
    connect(&m_settle, SIGNAL(timeout()), this, SLOT(readVisible()));
    connect(&m_readAround, SIGNAL(timeout()), this, SLOT(readAround()));
    connect(m_view, SIGNAL(changed()), this, SLOT(scheduleRead()));
    connect(m_swipe, SIGNAL(toggled(bool)), this, SLOT(setSwiping(bool)));
    connect(m_profile, SIGNAL(pointerAlong(double)), this, SLOT(pointAlongProfile(double)));
    connect(m_profile, SIGNAL(pointerLeft()), this, SLOT(pointNowhere()));
    for (GroundPane* pane : panes()) {
        connect(pane, SIGNAL(fitRequested()), this, SLOT(fit()));
        connect(pane, SIGNAL(profileLineDragged(QLineF)), this, SLOT(setProfileLine(QLineF)));
    }
}

ImageWindow::~ImageWindow() = default;

std::array<GroundPane*, 4> ImageWindow::panes() const {
    return {m_oldPane, m_newPane, m_swipePane, m_differencePane};
}

void ImageWindow::build() {
    m_oldPane->setObjectName("oldPane");
    m_newPane->setObjectName("newPane");
    m_swipePane->setObjectName("swipePane");
    m_differencePane->setObjectName("differencePane");
    m_profile->setObjectName("profileChart");

    auto* pair = new QWidget;
    auto* besides = new QHBoxLayout(pair);
    besides->setContentsMargins(0, 0, 0, 0);
    besides->setSpacing(4);
    besides->addWidget(m_oldPane);
    besides->addWidget(m_newPane);
    m_comparison->addWidget(pair);
    m_comparison->addWidget(m_swipePane);

    auto* rows = new QVBoxLayout(this);
    rows->setContentsMargins(6, 6, 6, 6);
    rows->setSpacing(4);
    rows->addWidget(makeHeader());
    setFocusProxy(m_sideBySide);

    auto* pictures = new QWidget;
    auto* below = new QVBoxLayout(pictures);
    below->setContentsMargins(0, 0, 0, 0);
    below->setSpacing(4);
    below->addWidget(m_comparison, 5);
    below->addWidget(m_differencePane, 4);
    below->addWidget(m_profile, 3);
    rows->addWidget(pictures, 1);
    m_hint = new EmptyHint(pictures);
}

QWidget* ImageWindow::makeHeader() {
    m_caption->setObjectName("imageCaption");
    m_sideBySide->setObjectName("sideBySideButton");
    m_sideBySide->setText(tr("并列"));
    m_sideBySide->setToolTip(tr("前期在左，后期在右"));
    m_swipe->setObjectName("swipeButton");
    m_swipe->setText(tr("卷帘"));
    m_swipe->setToolTip(tr("拖动分界线，在同一画面中对比两期影像"));
    auto* choice = new QButtonGroup(this);
    for (QToolButton* button : {m_sideBySide, m_swipe}) {
        button->setCheckable(true);
        button->setFocusPolicy(Qt::StrongFocus);
        choice->addButton(button);
    }
    m_sideBySide->setChecked(true);

    auto* header = new QWidget;
    auto* columns = new QHBoxLayout(header);
    columns->setContentsMargins(0, 0, 0, 0);
    columns->setSpacing(2);
    columns->addWidget(m_caption, 1);
    columns->addWidget(m_sideBySide);
    columns->addWidget(m_swipe);
    return header;
}

void ImageWindow::clear() {
    m_settle.stop();
    m_readAround.stop();
    m_pictureRead.drop();
    m_profileRead.drop();
    m_anomalyId = 0;
    m_subject = QRectF();
    m_profileLine = QLineF();
    m_asked.reset();
    m_caption->setFullText(tr("未选择异常"));
    for (GroundPane* pane : panes()) {
        pane->setPipeline({});
        pane->setOutline({});
        pane->setProfileLine({});
    }
    showNotice({});
    m_hint->say(tr("双击异常列表中的一行，或地球上的异常，在此对比两期影像"));
}

void ImageWindow::showNotice(const QString& text) {
    const auto notice = [&](const QString& title) {
        GroundPicture picture;
        picture.title = title;
        picture.reason = text;
        return picture;
    };
    showPictures({notice(tr("前期")), notice(tr("后期")), notice(tr("高程变化 dZ"))});
    m_profile->setProfile({}, text);
}

bool ImageWindow::isReading() const {
    return m_pictureRead.isReading() || m_profileRead.isReading() || m_settle.isActive();
}

void ImageWindow::CreatZoomItem(KV_StationItem* item, const SdiffData& zoom) {
    if (!item || !m_session.project()) {
        return;
    }
    clear();
    m_hint->say({});
    describe(*item, zoom);
    const QRectF subject = subjectOf(item->m_station, zoom);
    if (subject.isNull()) {
        showNotice(tr("该记录没有范围"));
        return;
    }
    m_anomalyId = zoom.id;
    m_subject = subject;
    m_source = sourceOf(*item, zoom);
    m_differencePane->setRamp(m_source.ramp);
    m_profile->setColours(m_source.ramp.fill, m_source.ramp.cut);
    m_profile->setLevelOfDetection(zoom.levelOfDetectionMetres);

    const QPainterPath outline = outlinePath(zoom.outlineWkt);
    const QPainterPath line = pipelinePath(m_pipeline, m_source.srs, farAround(m_subject));
    for (GroundPane* pane : panes()) {
        pane->setPipeline(line);
        pane->setOutline(outline);
    }
    showNotice(tr("正在读取…"));
    fit();
    m_settle.stop();
    readVisible();
    setProfileLine(lineAcross(m_subject));
}

void ImageWindow::applyRows(const RowChanges& changes) {
    const bool isGone = std::any_of(changes.begin(), changes.end(), [this](const RowChange& change) {
        return change.table == kAnomalyTable && change.id == m_anomalyId && !change.after;
    });
    if (isGone) {
        clear();
    }
}

void ImageWindow::dropWhatIsGone() {
    try {
        if (m_anomalyId != 0 && !readRow(*m_session.connection(), kAnomalyTable, m_anomalyId)) {
            clear();
        }
    } catch (const mysqlhelper::KV_MySQL_Exception& exception) {
        qCWarning(windowLog).noquote() << "The shown anomaly cannot be read again:" << exception.what();
    }
}

void ImageWindow::setSwiping(bool swiping) {
    m_comparison->setCurrentWidget(swiping ? m_swipePane : m_oldPane->parentWidget());
    scheduleRead(); // the wider pane shows more
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
        if (const auto result =
                readStationResult(*m_session.connection(), item.GetStationId(), project.pair())) {
            source.dzRaster = project.resultFile(result->dzRaster);
            source.shift = {result->dxMetres, result->dyMetres, result->dzMetres};
            source.isBent = result->summary && isBent(result->summary->report.coregistration);
        }
    } catch (const mysqlhelper::KV_MySQL_Exception&) {
        source.dzRaster.clear(); // reading stays silent: the pane says that there is nothing computed
    }
    return source;
}

void ImageWindow::describe(const KV_StationItem& item, const SdiffData& zoom) {
    const QString station = fromGbk(item.m_station.m_name).simplified();
    if (zoom.name.empty()) {
        m_caption->setFullText(station);
        return;
    }
    // The figures have a line of their own, so that no name pushes them out.
    m_caption->setFullText(tr("%1 · %2").arg(station, fromGbk(zoom.name).simplified()) + '\n' +
                           tr("%1，面积 %2 m²，体积 %3 m³，dZ %4 m")
                               .arg(kindText(zoom), figureText(zoom.areaSquareMetres), volumeText(zoom),
                                    differenceText(zoom.dzMeanMetres)));
}

void ImageWindow::setProfileLine(const QLineF& ground) {
    m_profileLine = ground;
    for (GroundPane* pane : panes()) {
        pane->setProfileLine(ground);
    }
    m_profileRead.ask([this, source = m_source, ground] {
        const ElevationProfile profile = readProfile(source, ground);
        return [this, profile] { m_profile->setProfile(profile, tr("高程无法读取")); };
    });
}

void ImageWindow::pointAlongProfile(double share) {
    m_view->setPointer(m_profileLine.pointAt(share));
}

void ImageWindow::pointNowhere() {
    m_view->setPointer(std::nullopt);
}

void ImageWindow::fit() {
    if (m_subject.isNull()) {
        return;
    }
    const QPointF room(m_subject.width() * (kSurroundings - 1.0) / 2.0,
                       m_subject.height() * (kSurroundings - 1.0) / 2.0);
    m_view->show(
        grownTo(m_subject.adjusted(-room.x(), -room.y(), room.x(), room.y()), kLeastSurroundingMetres),
        comparisonSize());
}

QSize ImageWindow::comparisonSize() const {
    return m_swipe->isChecked() ? m_swipePane->size() : m_oldPane->size();
}

void ImageWindow::scheduleRead() {
    if (!m_subject.isNull()) {
        m_settle.start();
    }
}

void ImageWindow::resizeEvent(QResizeEvent* event) {
    KVImageWindow::resizeEvent(event);
    scheduleRead();
}

// What fills a pane as wide and as high as any of them fills them all.
QRectF ImageWindow::visibleGround() const {
    const QSize pane = m_differencePane->size().expandedTo(comparisonSize());
    return m_view->toPane(pane).inverted().mapRect(QRectF(QPointF(), QSizeF(pane)));
}

void ImageWindow::readVisible() {
    const QRectF visible = visibleGround();
    if (m_asked && m_asked->ground.contains(visible) &&
        m_asked->metresPerPixel <= m_view->metresPerPixel() * kCoarserThanView) {
        return;
    }
    if (m_asked) {
        read(around(visible));
    } else { // the first picture of an anomaly is wanted at once
        read(visible);
        m_readAround.start();
    }
}

// The user has the first picture and may start to move it.
void ImageWindow::readAround() {
    if (m_pictureRead.isReading()) {
        m_readAround.start();
    } else if (m_asked) {
        read(around(visibleGround()));
    }
}

void ImageWindow::read(const QRectF& ground) {
    const double wanted = ground.width() / m_view->metresPerPixel() * devicePixelRatioF();
    const double scale =
        std::min(1.0, kMostPixels / std::max(wanted, wanted * ground.height() / ground.width()));
    const QSize pixels(std::max(1, static_cast<int>(wanted * scale)),
                       std::max(1, static_cast<int>(wanted * scale * ground.height() / ground.width())));
    m_asked = {ground, ground.width() / pixels.width()};
    m_pictureRead.ask([this, source = m_source, ground, pixels] {
        const ComparisonPictures pictures = readComparison(source, ground, pixels);
        return [this, pictures] { showPictures(pictures); };
    });
}

void ImageWindow::showPictures(const ComparisonPictures& pictures) {
    m_oldPane->setPicture(pictures.oldEpoch);
    m_newPane->setPicture(pictures.newEpoch);
    m_swipePane->setPictures(pictures.oldEpoch, pictures.newEpoch);
    m_differencePane->setPicture(pictures.difference);
}

} // namespace inspection
