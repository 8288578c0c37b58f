#include "workbench/inspection/creation/SettingsEpochPage.h"

#include "workbench/inspection/creation/FileField.h"
#include "workbench/inspectiondata/creation/HeightSystem.h"
#include "workbench/inspectiondata/project/RasterPlace.h"
#include "workbench/style/ToolTip.h"

#include <QComboBox>
#include <QDir>
#include <QFileInfo>
#include <QFormLayout>
#include <QGroupBox>
#include <QHeaderView>
#include <QLabel>
#include <QSignalBlocker>
#include <QTreeWidget>
#include <QVBoxLayout>

#include <algorithm>

namespace inspection {

namespace {

enum Column { kDate, kSurface, kPicture, kState, kColumns };

bool isMissing(const QString& file) {
    return !file.isEmpty() && !rasterExists(file);
}

} // namespace

SettingsEpochPage::SettingsEpochPage(ProjectDraft& draft, QWidget* parent)
    : DraftPage(draft, parent), m_rows(new QTreeWidget),
      m_surface(new FileField(FileField::Kind::File, tr("选择表面模型"))),
      m_picture(new FileField(FileField::Kind::File, tr("选择正射影像"))), m_heights(new QComboBox),
      m_notes(new QLabel) {
    build();
    setFocusProxy(m_rows);
    connect(&draft, &ProjectDraft::changed, this, &SettingsEpochPage::refresh);
    refresh();
}

void SettingsEpochPage::build() {
    m_rows->setObjectName("projectEpochs");
    m_rows->setColumnCount(kColumns);
    m_rows->setHeaderLabels({tr("日期"), tr("表面模型"), tr("正射影像"), tr("状态")});
    m_rows->setRootIsDecorated(false);
    m_rows->setUniformRowHeights(true);
    m_rows->setTextElideMode(Qt::ElideMiddle);
    m_rows->header()->setStretchLastSection(false);
    m_rows->header()->setSectionResizeMode(kSurface, QHeaderView::Stretch);
    m_rows->header()->setSectionResizeMode(kPicture, QHeaderView::Stretch);
    m_rows->header()->setSectionResizeMode(kDate, QHeaderView::ResizeToContents);
    m_rows->header()->setSectionResizeMode(kState, QHeaderView::ResizeToContents);
    connect(m_rows, &QTreeWidget::currentItemChanged, this, &SettingsEpochPage::showDetails);

    m_surface->setObjectName("epochSurface");
    m_picture->setObjectName("epochPicture");
    m_picture->setPlaceholder(tr("没有时留空"));
    m_heights->setObjectName("epochHeights");
    m_heights->setToolTip(tr("各期不同且有换算格网时，换算到最早一期的系统"));
    m_notes->setWordWrap(true);
    m_notes->setTextFormat(Qt::PlainText);
    auto* details = new QGroupBox(tr("选中的一期"));
    auto* form = new QFormLayout(details);
    form->addRow(tr("表面模型"), m_surface);
    form->addRow(tr("正射影像"), m_picture);
    form->addRow(tr("高程系统"), m_heights);
    connect(m_surface, &FileField::chosen, this, [this](const QString& file) {
        if (!file.isEmpty()) {
            change([&file](NewEpoch& epoch) { epoch.surface = file; });
        }
    });
    connect(m_picture, &FileField::chosen, this,
            [this](const QString& file) { change([&file](NewEpoch& epoch) { epoch.picture = file; }); });
    connect(m_heights, &QComboBox::activated, this, [this](int index) {
        change([this, index](NewEpoch& epoch) { epoch.heights = m_heights->itemData(index).toString(); });
    });

    auto* column = new QVBoxLayout(this);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(8);
    column->addWidget(m_rows, 1);
    column->addWidget(details);
    column->addWidget(m_notes);
}

void SettingsEpochPage::refresh() {
    showRows();
    showDetails();
    const auto& surveys = m_draft.reading().surveys;
    m_notes->setText(surveys ? surveys->notes.join('\n') : QString());
}

void SettingsEpochPage::showRows() {
    const QSignalBlocker blocker(m_rows);
    const int selected = std::max(0, current());
    m_rows->clear();
    for (const NewEpoch& epoch : m_draft.wish().epochs) {
        const bool isGone = isMissing(epoch.surface) || isMissing(epoch.picture);
        auto* item = new QTreeWidgetItem(m_rows);
        item->setText(kDate, epoch.date.isEmpty() ? tr("未知") : epoch.date);
        item->setText(kSurface, QFileInfo(epoch.surface).fileName());
        item->setText(kPicture, QFileInfo(epoch.picture).fileName());
        item->setText(kState, isGone ? tr("文件不存在") : tr("正常"));
        item->setToolTip(kSurface, plainToolTip(QDir::toNativeSeparators(epoch.surface)));
        item->setToolTip(kPicture, plainToolTip(QDir::toNativeSeparators(epoch.picture)));
        if (isGone) {
            item->setForeground(kState, Qt::red);
        }
    }
    m_rows->setCurrentItem(m_rows->topLevelItem(std::min(selected, m_rows->topLevelItemCount() - 1)));
}

void SettingsEpochPage::showDetails() {
    const auto& epochs = m_draft.wish().epochs;
    if (current() < 0 || std::size_t(current()) >= epochs.size()) {
        return;
    }
    const NewEpoch& epoch = epochs[std::size_t(current())];
    m_surface->setStart(epoch.surface);
    m_picture->setStart(epoch.surface);
    m_surface->setPath(epoch.surface);
    m_picture->setPath(epoch.picture);
    showHeights(epoch.heights);
}

void SettingsEpochPage::showHeights(const QString& heights) {
    m_heights->clear();
    m_heights->addItem(tr("按文件"), QString());
    for (const QString& system : {kEllipsoid, QStringLiteral("EPSG:5737"), QStringLiteral("EPSG:3855"),
                                  QStringLiteral("EPSG:5773"), heights}) {
        if (m_heights->findData(system) < 0) {
            m_heights->addItem(heightSystemTitle(system), system);
        }
    }
    m_heights->setCurrentIndex(m_heights->findData(heights));
}

int SettingsEpochPage::current() const {
    return m_rows->indexOfTopLevelItem(m_rows->currentItem());
}

void SettingsEpochPage::change(const std::function<void(NewEpoch&)>& edit) {
    const int index = current();
    if (index >= 0) {
        m_draft.change([&](NewProject& wish) { edit(wish.epochs[std::size_t(index)]); });
    }
}

} // namespace inspection
