#include "workbench/inspection/creation/ConfirmPage.h"

#include "workbench/inspection/creation/FileField.h"
#include "workbench/style/FileChoice.h"
#include "workbench/style/ToolTip.h"

#include <QDir>
#include <QFileInfo>
#include <QFormLayout>
#include <QGroupBox>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QRadioButton>
#include <QRegularExpression>
#include <QStandardPaths>
#include <QTreeWidget>
#include <QVBoxLayout>

namespace inspection {

namespace {

bool isFree(const QString& folder) {
    return !QFileInfo::exists(folder) ||
           QDir(folder).isEmpty(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot);
}

/// What is going to be made of point clouds.
QStringList cloudNotes(const PlannedEpochs& surveys) {
    QStringList notes;
    for (const PlannedEpoch& epoch : surveys.epochs) {
        const SurveyRaster& surface = epoch.surface;
        if (surface.cloud) {
            notes << ConfirmPage::tr("%1：%2 万点，先生成表面模型，格网间距 %3，存入项目文件夹")
                         .arg(QFileInfo(surface.files.front()).fileName())
                         .arg(surface.cloud->points / 1e4, 0, 'g', 3)
                         .arg(surface.cloud->cell);
        }
    }
    return notes;
}

} // namespace

QString suggestedFolder(const QString& documents, const QString& name) {
    static const QRegularExpression kForbidden(QStringLiteral(R"([\\/:*?"<>|\x00-\x1f]|^\.+|[. ]+$)"));
    QString folderName = name.trimmed();
    folderName.replace(kForbidden, QStringLiteral("_"));
    const QString folder = documents + '/' + (folderName.isEmpty() ? QStringLiteral("管道巡检") : folderName);
    QString free = folder;
    for (int number = 2; !isFree(free); ++number) {
        free = folder + '-' + QString::number(number);
    }
    return free;
}

ConfirmPage::ConfirmPage(ProjectDraft& draft, QWidget* parent)
    : DraftPage(draft, parent), m_name(new QLineEdit),
      m_folder(new FileField(FileField::Kind::Folder, tr("选择项目文件夹"))),
      m_refers(new QRadioButton(tr("留在原处（项目只记下位置）"))),
      m_copies(new QRadioButton(tr("复制到项目文件夹（可整体移动、备份）"))), m_objects(new QTreeWidget),
      m_summary(new QLabel) {
    setFocusProxy(m_name);
    m_name->setObjectName("projectName");
    m_folder->setObjectName("projectFolder");
    m_summary->setObjectName("planSummary");
    m_summary->setWordWrap(true);
    m_summary->setTextFormat(Qt::PlainText);
    auto* form = new QFormLayout;
    form->addRow(tr("项目名称"), m_name);
    form->addRow(tr("项目文件夹"), m_folder);
    auto* column = new QVBoxLayout(this);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(10);
    column->addWidget(m_summary);
    column->addLayout(form);
    column->addWidget(buildRasters());
    column->addWidget(buildObjects(), 1);

    connect(m_name, &QLineEdit::textEdited, this, [this](const QString& name) {
        m_isNameOwn = !name.trimmed().isEmpty();
        refresh();
        emit changed();
    });
    connect(m_folder, &FileField::chosen, this, [this](const QString& folder) {
        m_isFolderOwn = !folder.isEmpty();
        refresh();
        emit changed();
    });
    connect(&draft, &ProjectDraft::changed, this, &ConfirmPage::refresh);
}

QWidget* ConfirmPage::buildRasters() {
    auto* box = new QGroupBox(tr("栅格文件"));
    m_refers->setObjectName("refersFiles");
    m_copies->setObjectName("copiesFiles");
    m_refers->setChecked(true);
    auto* column = new QVBoxLayout(box);
    column->addWidget(m_refers);
    column->addWidget(m_copies);
    connect(m_copies, &QRadioButton::toggled, this, [this](bool copies) {
        m_draft.change([copies](NewProject& wish) { wish.copiesFiles = copies; });
    });
    return box;
}

QWidget* ConfirmPage::buildObjects() {
    auto* box = new QGroupBox(tr("同时导入的特殊对象（可不填）"));
    m_objects->setObjectName("objectRows");
    m_objects->setHeaderLabels({tr("种类"), tr("文件")});
    m_objects->setRootIsDecorated(false);
    m_objects->setTextElideMode(Qt::ElideMiddle);
    m_objects->header()->setSectionResizeMode(0, QHeaderView::ResizeToContents);
    auto* buttons = new QHBoxLayout;
    const auto addButton = [&](const char* name, const QString& text, const auto& clicked) {
        auto* button = new QPushButton(text);
        button->setObjectName(name);
        button->setAutoDefault(false);
        connect(button, &QPushButton::clicked, this, clicked);
        buttons->addWidget(button);
    };
    addButton("addPoints", tr("特殊点…"), [this] { addObjects(KV_SPECIAL_POINT); });
    addButton("addAreas", tr("特殊面…"), [this] { addObjects(KV_SPECIAL_AREA); });
    addButton("addHighConsequence", tr("高后果区…"), [this] { addObjects(KV_HIGH_CONSEQUENCE_AREA); });
    buttons->addStretch(1);
    addButton("removeObjects", tr("移除"), [this] { removeObjects(); });
    auto* column = new QVBoxLayout(box);
    column->addWidget(m_objects, 1);
    column->addLayout(buttons);
    return box;
}

QString ConfirmPage::folder() const {
    return m_folder->path();
}

QString ConfirmPage::name() const {
    return m_name->text().trimmed();
}

QString ConfirmPage::problem() const {
    if (name().isEmpty()) {
        return tr("请填写项目名称");
    }
    if (folder().isEmpty()) {
        return tr("请选择项目文件夹");
    }
    if (!QDir::isAbsolutePath(folder())) {
        return tr("%1：请填写完整路径").arg(folder());
    }
    return isFree(folder()) ? QString() : tr("%1：文件夹不是空的").arg(QDir::toNativeSeparators(folder()));
}

void ConfirmPage::refresh() {
    if (!m_isNameOwn && !m_name->hasFocus()) {
        m_name->setText(suggestedName(m_draft.reading()));
    }
    if (!m_isFolderOwn) {
        const QString documents = QStandardPaths::writableLocation(QStandardPaths::DocumentsLocation);
        m_folder->setPath(suggestedFolder(documents, name()));
    }
    showObjects();
    m_summary->setText(summary());
}

void ConfirmPage::showObjects() {
    m_objects->clear();
    for (const SpecialObjectFile& file : m_draft.wish().objects) {
        auto* item = new QTreeWidgetItem(m_objects, {specialObjectTitle(file.type), file.path});
        item->setToolTip(1, plainToolTip(file.path));
    }
}

void ConfirmPage::addObjects(KV_ObjectType type) {
    const QStringList files = FileChoice(this, "data", tr("导入%1").arg(specialObjectTitle(type)))
                                  .beginAt(m_draft.anyFile())
                                  .existingFiles();
    if (files.isEmpty()) {
        return;
    }
    m_draft.change([&](NewProject& wish) {
        for (const QString& file : files) {
            wish.objects.push_back({file, type, {}, {}});
        }
    });
}

void ConfirmPage::removeObjects() {
    const int index = m_objects->indexOfTopLevelItem(m_objects->currentItem());
    if (index >= 0) {
        m_draft.change([index](NewProject& wish) { wish.objects.erase(wish.objects.begin() + index); });
    }
}

QString ConfirmPage::summary() const {
    const PlanReading& reading = m_draft.reading();
    if (!reading.surveys) {
        return {};
    }
    const QString line = reading.centerline
                             ? tr("，管道 %1 km").arg(reading.centerline->lengthMetres() / 1000.0, 0, 'f', 3)
                             : tr("，没有中心线");
    const QString facts = tr("%1 期数据%2，%3 个站段；坐标系 %4。")
                              .arg(reading.epochs.size())
                              .arg(line)
                              .arg(reading.stations.size())
                              .arg(reading.referenceTitle);
    return (QStringList{facts} + cloudNotes(*reading.surveys) + reading.surveys->notes).join('\n');
}

} // namespace inspection
