#include "workbench/inspection/creation/ImportDialog.h"

#include "host/inspection/KV_MySQL.h"
#include "workbench/inspection/creation/FileField.h"

#include <QComboBox>
#include <QFormLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QProgressBar>
#include <QPushButton>
#include <QVBoxLayout>

#include <memory>

namespace inspection {

namespace {

constexpr int kProgressSteps = 1000;

/// By a connection of its own, on the thread of the work.
Result<SpecialObjectImport> importInto(const ProjectDescription& project, const SpecialObjectFile& file,
                                       const SpecialObjectProgress& progress) {
    try {
        mysqlhelper::KV_MySQL database(project.databaseUrl().toStdString());
        return importSpecialObjects(project, file, false, database, progress);
    } catch (const mysqlhelper::KV_MySQL_Exception& exception) {
        const QString cause = QString::fromUtf8(exception.what());
        return Unexpected(Failure{cause, ImportDialog::tr("无法读取项目数据库：%1").arg(cause)});
    }
}

} // namespace

ImportDialog::ImportDialog(ProjectDescription project, QWidget* parent)
    : BaseDialog(parent), m_project(std::move(project)),
      m_file(new FileField(FileField::Kind::File, tr("选择矢量文件"))), m_type(new QComboBox),
      m_reference(new QLineEdit), m_outcome(new QPlainTextEdit), m_hint(new QLabel),
      m_progress(new QProgressBar), m_import(new QPushButton(tr("导入"))),
      m_close(new QPushButton(tr("关闭"))) {
    setObjectName("importDialog");
    setWindowTitle(tr("导入特殊对象"));
    build();
    m_titleBar->setTitleContent(tr("导入特殊对象"));
    m_titleBar->setButtonType(titleBar::OnlyClose);
    updateLayout();
    connect(m_file, &FileField::chosen, this, &ImportDialog::guessType);
    connect(m_import, &QPushButton::clicked, this, &ImportDialog::import);
    connect(m_close, &QPushButton::clicked, this, &ImportDialog::reject);
    connect(&m_jobs, &JobRunner::started, this, [this] { showWork(true); });
    connect(&m_jobs, &JobRunner::finished, this, [this] { showWork(false); });
    connect(&m_jobs, &JobRunner::progressed, this,
            [this](double fraction) { m_progress->setValue(int(fraction * kProgressSteps)); });
    refresh();
    m_file->setFocus();
}

void ImportDialog::build() {
    constexpr QSize kSize(640, 380);
    m_file->setObjectName("importFile");
    m_type->setObjectName("importType");
    for (const KV_ObjectType type : {KV_SPECIAL_POINT, KV_SPECIAL_AREA, KV_HIGH_CONSEQUENCE_AREA}) {
        m_type->addItem(specialObjectTitle(type), static_cast<int>(type));
    }
    m_reference->setObjectName("importReference");
    m_reference->setPlaceholderText(tr("文件没有坐标系时使用，如 EPSG:4547；留空为项目坐标系"));
    m_outcome->setObjectName("importOutcome");
    m_outcome->setReadOnly(true);
    m_outcome->setTabChangesFocus(true);
    m_hint->setObjectName("importHint");
    m_progress->setObjectName("importProgress");
    m_progress->setRange(0, kProgressSteps);
    m_progress->hide();
    m_import->setObjectName("import");
    m_import->setDefault(true);
    m_close->setObjectName("closeImport");
    m_close->setAutoDefault(false);
    auto* form = new QFormLayout;
    form->setVerticalSpacing(10);
    form->addRow(tr("文件"), m_file);
    form->addRow(tr("成为"), m_type);
    form->addRow(tr("坐标系"), m_reference);
    auto* buttons = new QHBoxLayout;
    buttons->setSpacing(8);
    buttons->addWidget(m_hint, 1);
    buttons->addWidget(m_progress, 1);
    buttons->addWidget(m_import);
    buttons->addWidget(m_close);
    auto* column = new QVBoxLayout(this);
    column->setContentsMargins(20, 16, 20, 14);
    column->setSpacing(12);
    column->addLayout(form);
    column->addWidget(m_outcome, 1);
    column->addLayout(buttons);
    resize(kSize);
}

void ImportDialog::addFiles(const QStringList& files) {
    m_waiting << files;
    if (m_file->path().isEmpty()) {
        takeNext();
    }
    refresh();
}

void ImportDialog::takeNext() {
    m_file->setPath(m_waiting.isEmpty() ? QString() : m_waiting.takeFirst());
    guessType();
}

void ImportDialog::guessType() {
    if (!m_file->path().isEmpty()) {
        m_type->setCurrentIndex(m_type->findData(static_cast<int>(likelyType(m_file->path()))));
    }
    refresh();
}

SpecialObjectFile ImportDialog::file() const {
    const QString reference = m_reference->text().trimmed();
    return {m_file->path(),
            static_cast<KV_ObjectType>(m_type->currentData().toInt()),
            reference.isEmpty() ? m_project.crs : reference,
            {}};
}

void ImportDialog::import() {
    m_jobs.start(
        tr("导入特殊对象"), [this, project = m_project, file = file()](const JobRunner::Progress& progress) {
            const auto outcome = std::make_shared<Result<SpecialObjectImport>>(
                importInto(project, file, [&](double fraction) { return progress(fraction, QString()); }));
            return [this, path = file.path, outcome] { finish(path, *outcome); };
        });
}

void ImportDialog::finish(const QString& path, const Result<SpecialObjectImport>& outcome) {
    if (!outcome) {
        m_outcome->appendPlainText(outcome.error().userMessage);
        return;
    }
    m_outcome->appendPlainText(tr("%1：导入 %2 个%3，拒绝 %4 行")
                                   .arg(path)
                                   .arg(outcome->stored)
                                   .arg(m_type->currentText())
                                   .arg(outcome->refusals.size()));
    for (const QString& line : outcome->notes + outcome->refusals) {
        m_outcome->appendPlainText(line);
    }
    takeNext();
    if (outcome->stored > 0) {
        emit imported();
    }
}

void ImportDialog::refresh() {
    m_hint->setText(m_waiting.isEmpty() ? QString() : tr("随后还有 %1 个文件").arg(m_waiting.size()));
    m_import->setEnabled(!m_jobs.isRunning() && !m_file->path().isEmpty());
}

void ImportDialog::showWork(bool isWorking) {
    m_progress->setValue(0);
    m_progress->setVisible(isWorking);
    m_hint->setVisible(!isWorking);
    for (QWidget* field :
         {static_cast<QWidget*>(m_file), static_cast<QWidget*>(m_type), static_cast<QWidget*>(m_reference)}) {
        field->setEnabled(!isWorking);
    }
    m_close->setText(isWorking ? tr("取消") : tr("关闭"));
    refresh();
    if (isWorking) {
        m_import->setEnabled(false);
        m_close->setFocus();
    }
}

void ImportDialog::done(int result) {
    if (m_jobs.isRunning()) {
        m_jobs.cancel(); // it closes by a second press, when the work has ended
        return;
    }
    QDialog::done(result);
    deleteLater();
}

} // namespace inspection
