#include "workbench/inspection/creation/EpochForm.h"

#include "workbench/inspection/creation/FileField.h"
#include "workbench/inspectiondata/creation/HeightSystem.h"
#include "workbench/style/FileChoice.h"

#include <QCheckBox>
#include <QComboBox>
#include <QFileInfo>
#include <QFormLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QRadioButton>

#include <tuple>

namespace inspection {

namespace {

/// Those that surveys in and around China are made in; any other can be typed.
constexpr std::pair<const char*, const char*> kHeightSystems[] = {{"ellipsoid", "椭球高（大地高）"},
                                                                  {"EPSG:5737", "1985 国家高程基准"},
                                                                  {"EPSG:5736", "1956 黄海高程系"},
                                                                  {"EPSG:5773", "EGM96"},
                                                                  {"EPSG:3855", "EGM2008"}};

bool isSame(const EpochWish& a, const EpochWish& b) {
    const auto members = [](const EpochWish& wish) {
        return std::tie(wish.epoch.date, wish.epoch.surface, wish.epoch.picture, wish.epoch.heights,
                        wish.clouds.cell, wish.clouds.isGroundOnly, wish.copiesFiles);
    };
    return members(a) == members(b);
}

} // namespace

EpochForm::EpochForm(QWidget* parent)
    : QWidget(parent), m_form(new QFormLayout(this)),
      m_surface(new FileField(FileField::Kind::File, tr("选择表面模型或点云"))), m_date(new QLineEdit),
      m_picture(new FileField(FileField::Kind::File, tr("选择正射影像"))), m_heights(new QComboBox),
      m_cell(new QLineEdit), m_ground(new QCheckBox(tr("只用地面点"))), m_clouds(buildClouds()),
      m_copies(new QRadioButton(tr("复制到项目文件夹"))) {
    m_surface->setObjectName("surface");
    m_date->setObjectName("epochDate");
    m_picture->setObjectName("epochPicture");
    m_picture->setPlaceholder(tr("没有时留空"));
    m_heights->setObjectName("epochHeights");
    m_heights->setEditable(true);
    m_heights->setMinimumHeight(m_date->sizeHint().height());
    m_heights->setInsertPolicy(QComboBox::NoInsert);
    m_heights->addItem(QString());
    for (const auto& [code, title] : kHeightSystems) {
        m_heights->addItem(QString::fromUtf8(title), QString::fromLatin1(code));
    }
    m_heights->setToolTip(tr("高程从哪里量起；文件没有说明时可在此选择，或填写代码，如 EPSG:5773"));
    m_form->setContentsMargins(0, 0, 0, 0);
    m_form->setVerticalSpacing(10);
    m_form->addRow(tr("表面模型"), buildSurface());
    m_form->addRow(tr("日期"), m_date);
    m_form->addRow(tr("正射影像"), m_picture);
    m_form->addRow(tr("高程系统"), m_heights);
    m_form->addRow(tr("点云"), m_clouds);
    m_form->addRow(tr("栅格文件"), buildFiles());
    setFocusProxy(m_surface);

    connect(m_surface, &FileField::chosen, this, &EpochForm::announce);
    connect(m_date, &QLineEdit::editingFinished, this, &EpochForm::announce);
    connect(m_picture, &FileField::chosen, this, &EpochForm::announce);
    connect(m_heights, QOverload<int>::of(&QComboBox::activated), this, &EpochForm::announce);
    connect(m_heights->lineEdit(), &QLineEdit::editingFinished, this, &EpochForm::announce);
    showReading(nullptr);
}

QWidget* EpochForm::buildSurface() {
    auto* folder = new QPushButton(tr("文件夹…"));
    folder->setObjectName("surfaceFolder");
    folder->setAutoDefault(false);
    folder->setToolTip(tr("分幅的栅格或点云：文件夹中的全部文件为一期"));
    connect(folder, &QPushButton::clicked, this, &EpochForm::chooseFolder);
    auto* both = new QWidget;
    auto* row = new QHBoxLayout(both);
    row->setContentsMargins(0, 0, 0, 0);
    row->setSpacing(6);
    row->addWidget(m_surface, 1);
    row->addWidget(folder);
    return both;
}

QWidget* EpochForm::buildClouds() {
    m_cell->setObjectName("cloudCell");
    m_cell->setMaximumWidth(160);
    m_ground->setObjectName("cloudGround");
    m_ground->setToolTip(tr("第 2 类的点；得到地面模型而不是表面模型"));
    connect(m_cell, &QLineEdit::editingFinished, this, &EpochForm::announce);
    connect(m_ground, &QCheckBox::toggled, this, &EpochForm::announce);
    auto* clouds = new QWidget;
    auto* row = new QHBoxLayout(clouds);
    row->setContentsMargins(0, 0, 0, 0);
    row->addWidget(new QLabel(tr("格网间距")));
    row->addWidget(m_cell);
    row->addSpacing(12);
    row->addWidget(m_ground);
    row->addStretch(1);
    return clouds;
}

QWidget* EpochForm::buildFiles() {
    auto* refers = new QRadioButton(tr("留在原处"));
    refers->setObjectName("refersFiles");
    refers->setChecked(true);
    m_copies->setObjectName("copiesFiles");
    connect(m_copies, &QRadioButton::toggled, this, &EpochForm::announce);
    auto* files = new QWidget;
    auto* row = new QHBoxLayout(files);
    row->setContentsMargins(0, 0, 0, 0);
    row->setSpacing(16);
    row->addWidget(refers);
    row->addWidget(m_copies);
    row->addStretch(1);
    return files;
}

void EpochForm::chooseFolder() {
    const QString folder =
        FileChoice(this, "data", tr("选择一期的分幅")).beginAt(m_surface->path()).existingFolder();
    if (!folder.isEmpty()) {
        m_surface->setPath(folder);
        announce();
    }
}

void EpochForm::announce() {
    if (!isSame(wish(), m_announced)) {
        m_announced = wish();
        emit changed();
    }
}

void EpochForm::setEpoch(const NewEpoch& epoch) {
    m_surface->setPath(epoch.surface);
    m_picture->setPath(epoch.picture);
    m_picture->setStart(epoch.surface);
    m_date->setText(epoch.date);
    m_heights->setCurrentIndex(0);
    m_cell->clear();
    m_announced = wish();
}

void EpochForm::setPicture(const QString& file) {
    m_picture->setPath(file);
    m_announced = wish();
}

EpochWish EpochForm::wish() const {
    EpochWish wish;
    const int chosen = m_heights->findText(m_heights->currentText());
    const QString heights =
        chosen > 0 ? m_heights->itemData(chosen).toString() : m_heights->currentText().trimmed();
    wish.epoch = {m_date->text().trimmed(), m_surface->path(), m_picture->path(), heights};
    bool isNumber = false;
    const double cell = m_cell->text().trimmed().toDouble(&isNumber);
    wish.clouds.cell = isNumber && cell > 0.0 ? std::optional(cell) : std::nullopt;
    wish.clouds.isGroundOnly = m_ground->isChecked();
    wish.copiesFiles = m_copies->isChecked();
    return wish;
}

void EpochForm::showReading(const NextEpoch* next) {
    const auto automatic = [](const QString& value) { return tr("自动：%1").arg(value); };
    const SurveyRaster* surface = next ? &next->epoch.surface : nullptr;
    const bool isGuessed = next && next->epoch.isDateGuessed && !next->epoch.date.isEmpty();
    m_date->setPlaceholderText(isGuessed ? automatic(next->epoch.date) : tr("如 2026-05-25；未知时留空"));
    m_heights->lineEdit()->setPlaceholderText(surface && !surface->heights.isEmpty()
                                                  ? automatic(heightSystemTitle(surface->heights))
                                                  : tr("文件没有说明；与其他期相同时留空"));
    const bool isCloud = surface && surface->cloud;
    m_clouds->setVisible(isCloud);
    m_form->labelForField(m_clouds)->setVisible(isCloud);
    if (isCloud) {
        m_cell->setPlaceholderText(automatic(QString::number(surface->cloud->cell)));
    }
}

} // namespace inspection
