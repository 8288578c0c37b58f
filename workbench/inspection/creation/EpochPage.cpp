#include "workbench/inspection/creation/EpochPage.h"

#include "workbench/inspection/creation/FileField.h"
#include "workbench/inspection/creation/PlanPreview.h"
#include "workbench/style/FileChoice.h"
#include "workbench/style/ToolTip.h"

#include <QDir>
#include <QFileInfo>
#include <QFormLayout>
#include <QGroupBox>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QPainter>
#include <QPixmap>
#include <QPushButton>
#include <QSignalBlocker>
#include <QTreeWidget>
#include <QVBoxLayout>

#include <algorithm>

namespace inspection {

namespace {

enum Column { kDate, kSurface, kReference, kCell, kPicture, kColumns };

QPushButton* button(const char* name, const QString& text) {
    auto* made = new QPushButton(text);
    made->setObjectName(name);
    made->setAutoDefault(false);
    return made;
}

/// The file's name, and its folder where that is short enough to tell epochs apart.
QString shortPath(const QString& path) {
    const QFileInfo info(path);
    return path.isEmpty() ? QString() : info.dir().dirName() + '/' + info.fileName();
}

QIcon swatch(std::size_t epoch) {
    constexpr int kPixels = 12;
    QPixmap pixmap(kPixels, kPixels);
    pixmap.fill(Qt::white); // a rim, for the row that is chosen
    QPainter(&pixmap).fillRect(pixmap.rect().adjusted(1, 1, -1, -1), epochColour(epoch));
    return pixmap;
}

} // namespace

EpochPage::EpochPage(ProjectDraft& draft, QWidget* parent)
    : DraftPage(draft, parent), m_addFiles(button("addEpochFiles", tr("添加文件…"))), m_rows(new QTreeWidget),
      m_remove(button("removeEpoch", tr("移除"))), m_up(button("moveEpochUp", tr("上移"))),
      m_date(new QLineEdit), m_picture(new FileField(FileField::Kind::File, tr("选择正射影像"))),
      m_reference(new QLineEdit) {
    build();
    setFocusProxy(m_addFiles);
    connect(&draft, &ProjectDraft::changed, this, &EpochPage::refresh);
    refresh();
}

void EpochPage::build() {
    m_rows->setObjectName("epochRows");
    m_rows->setColumnCount(kColumns);
    m_rows->setHeaderLabels({tr("日期"), tr("表面模型"), tr("坐标系"), tr("格网"), tr("正射影像")});
    m_rows->setRootIsDecorated(false);
    m_rows->setUniformRowHeights(true);
    m_rows->setTextElideMode(Qt::ElideMiddle);
    m_rows->header()->setStyleSheet(QStringLiteral("QHeaderView::section { padding: 2px 8px; }"));
    m_rows->header()->setStretchLastSection(false);
    m_rows->header()->setSectionResizeMode(kSurface, QHeaderView::Stretch);
    m_rows->header()->setSectionResizeMode(kPicture, QHeaderView::Stretch);
    for (const Column column : {kDate, kReference, kCell}) {
        m_rows->header()->setSectionResizeMode(column, QHeaderView::ResizeToContents);
    }
    connect(m_rows, &QTreeWidget::currentItemChanged, this, &EpochPage::showDetails);

    m_reference->setObjectName("projectReference");
    m_reference->setToolTip(tr("以米为单位的投影坐标系，如 EPSG:4547；留空时由最早一期确定"));
    connect(m_reference, &QLineEdit::editingFinished, this, &EpochPage::setReference);
    auto* form = new QFormLayout;
    form->addRow(tr("项目坐标系"), m_reference);

    auto* column = new QVBoxLayout(this);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(8);
    column->addWidget(buildButtons());
    column->addWidget(m_rows, 1);
    column->addWidget(buildDetails());
    column->addLayout(form);
}

QWidget* EpochPage::buildButtons() {
    auto* addFolderButton = button("addEpochFolder", tr("添加文件夹…"));
    m_addFiles->setToolTip(tr("各期的表面模型；正射影像一并选中时自动归入同一期"));
    addFolderButton->setToolTip(tr("一期的全部分幅，或含有各期子文件夹的文件夹"));
    m_up->setToolTip(tr("没有日期时，从上到下为从旧到新"));
    connect(m_addFiles, &QPushButton::clicked, this, &EpochPage::addFiles);
    connect(addFolderButton, &QPushButton::clicked, this, &EpochPage::addFolder);
    connect(m_remove, &QPushButton::clicked, this, &EpochPage::remove);
    connect(m_up, &QPushButton::clicked, this, &EpochPage::moveUp);
    auto* buttons = new QWidget;
    auto* row = new QHBoxLayout(buttons);
    row->setContentsMargins(0, 0, 0, 0);
    row->setSpacing(8);
    row->addWidget(m_addFiles);
    row->addWidget(addFolderButton);
    row->addStretch(1);
    row->addWidget(m_up);
    row->addWidget(m_remove);
    return buttons;
}

QWidget* EpochPage::buildDetails() {
    m_date->setObjectName("epochDate");
    m_picture->setObjectName("epochPicture");
    m_picture->setPlaceholder(tr("没有时留空"));
    connect(m_date, &QLineEdit::editingFinished, this, &EpochPage::setDate);
    connect(m_picture, &FileField::chosen, this, &EpochPage::setPicture);
    m_details = new QGroupBox(tr("选中的一期"));
    auto* form = new QFormLayout(m_details);
    form->addRow(tr("日期"), m_date);
    form->addRow(tr("正射影像"), m_picture);
    return m_details;
}

QString EpochPage::problem() const {
    return m_draft.reading().epochProblem;
}

void EpochPage::refresh() {
    showRows();
    showDetails();
    const PlanReading& reading = m_draft.reading();
    if (!m_reference->hasFocus()) {
        m_reference->setText(m_draft.wish().crs);
    }
    m_reference->setPlaceholderText(
        reading.referenceTitle.isEmpty() ? tr("自动") : tr("自动：%1").arg(reading.referenceTitle));
}

void EpochPage::showRows() {
    const QSignalBlocker blocker(m_rows);
    const int selected = current();
    const std::vector<NewEpoch>& wish = m_draft.wish().epochs;
    const std::vector<EpochRow>& read = m_draft.reading().epochs;
    m_rows->clear();
    for (std::size_t i = 0; i < wish.size(); ++i) {
        auto* item = new QTreeWidgetItem(m_rows);
        item->setIcon(kDate, swatch(i));
        item->setText(kDate, wish[i].date.isEmpty() ? tr("正在读取…") : wish[i].date);
        item->setText(kSurface, shortPath(wish[i].surface));
        item->setText(kPicture, shortPath(wish[i].picture));
        item->setToolTip(kSurface, plainToolTip(QDir::toNativeSeparators(wish[i].surface)));
        item->setToolTip(kPicture, plainToolTip(QDir::toNativeSeparators(wish[i].picture)));
        const auto row = std::find_if(read.begin(), read.end(), [&](const EpochRow& candidate) {
            return candidate.surface == wish[i].surface;
        });
        if (row == read.end()) {
            continue;
        }
        item->setText(kDate, row->date.isEmpty() ? tr("未知") : row->date);
        item->setText(kReference, row->reference);
        item->setText(kCell, row->cell);
        if (!row->problem.isEmpty()) {
            item->setText(kDate, tr("无法使用"));
            item->setForeground(kDate, Qt::red);
            item->setToolTip(kDate, plainToolTip(row->problem));
        }
    }
    const int last = m_rows->topLevelItemCount() - 1;
    if (last >= 0) {
        m_rows->setCurrentItem(m_rows->topLevelItem(std::clamp(selected, 0, last)));
    }
}

void EpochPage::showDetails() {
    const int index = current();
    const std::vector<NewEpoch>& epochs = m_draft.wish().epochs;
    const bool isThere = index >= 0 && std::size_t(index) < epochs.size();
    const auto& read = m_draft.reading().epochs;
    m_details->setEnabled(isThere);
    m_remove->setEnabled(isThere);
    m_up->setEnabled(index > 0 && std::any_of(read.begin(), read.end(),
                                              [](const EpochRow& row) { return row.date.isEmpty(); }));
    m_picture->setStart(m_draft.anyFile());
    m_picture->setPath(isThere ? epochs[std::size_t(index)].picture : QString());
    if (!m_date->hasFocus() || !isThere) {
        m_date->setText(isThere ? epochs[std::size_t(index)].date : QString());
    }
    const QString guess =
        isThere && std::size_t(index) < read.size() ? read[std::size_t(index)].date : QString();
    m_date->setPlaceholderText(guess.isEmpty() ? tr("如 2024-05-18") : tr("自动：%1").arg(guess));
}

int EpochPage::current() const {
    return m_rows->indexOfTopLevelItem(m_rows->currentItem());
}

void EpochPage::addFiles() {
    const QStringList files =
        FileChoice(this, "data", tr("添加各期数据")).beginAt(m_draft.anyFile()).existingFiles();
    if (!files.isEmpty()) {
        m_draft.addEpochs(files);
    }
}

void EpochPage::addFolder() {
    const QString folder = FileChoice(this, "data", tr("添加一期的分幅，或含有各期的文件夹"))
                               .beginAt(m_draft.anyFile())
                               .existingFolder();
    if (!folder.isEmpty()) {
        m_draft.addEpochs({folder});
    }
}

void EpochPage::remove() {
    m_draft.change([index = current()](NewProject& wish) { wish.epochs.erase(wish.epochs.begin() + index); });
}

void EpochPage::moveUp() {
    const int index = current();
    m_rows->setCurrentItem(m_rows->topLevelItem(index - 1));
    m_draft.change([index](NewProject& wish) {
        std::swap(wish.epochs[std::size_t(index) - 1], wish.epochs[std::size_t(index)]);
    });
}

void EpochPage::setDate() {
    const int index = current();
    const QString date = m_date->text().trimmed();
    if (index >= 0 && m_draft.wish().epochs[std::size_t(index)].date != date) {
        m_draft.change([&](NewProject& wish) { wish.epochs[std::size_t(index)].date = date; });
    }
}

void EpochPage::setPicture(const QString& file) {
    const int index = current();
    if (index >= 0) {
        m_draft.change([&](NewProject& wish) { wish.epochs[std::size_t(index)].picture = file; });
    }
}

void EpochPage::setReference() {
    const QString reference = m_reference->text().trimmed();
    if (m_draft.wish().crs != reference) {
        m_draft.change([&reference](NewProject& wish) { wish.crs = reference; });
    }
}

} // namespace inspection
