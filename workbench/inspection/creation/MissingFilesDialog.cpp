#include "workbench/inspection/creation/MissingFilesDialog.h"

#include "workbench/inspectiondata/amendment/AmendProject.h"
#include "workbench/inspectiondata/database/PipelineDatabase.h"
#include "workbench/inspectiondata/database/StationTable.h"
#include "workbench/style/FileChoice.h"
#include "workbench/style/Theme.h"
#include "workbench/style/ToolTip.h"

#include <QDir>
#include <QFileInfo>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QPushButton>
#include <QTreeWidget>
#include <QVBoxLayout>

#include <algorithm>

namespace inspection {

namespace {

/// Stores the wish, or else that for the chosen file alone: what only lies beside it may be something else. Gives the
/// project as it is then.
Result<ProjectDescription> store(const QString& folder, const AmendmentWish& wish,
                                 const AmendmentWish& chosen) {
    auto project = Project::open(folder);
    if (!project) {
        return failed(project);
    }
    const auto database = PipelineDatabase::open(project->description(), project->access());
    if (!database) {
        return failed(database);
    }
    try {
        auto& sql = *(*database)->GetMySQL();
        const auto stations = readStations(sql);
        auto amendment = planAmendment(project->description(), stations, wish);
        if (!amendment) {
            amendment = planAmendment(project->description(), stations, chosen);
        }
        if (!amendment) {
            return failed(amendment);
        }
        if (auto done = amendProject(*project, sql, *std::move(amendment)); !done) {
            return failed(done);
        }
        return project->description();
    } catch (const mysqlhelper::KV_MySQL_Exception& exception) {
        const QString cause = QString::fromUtf8(exception.what());
        return Unexpected(Failure{cause, QStringLiteral("无法读取项目数据库：") + cause});
    }
}

} // namespace

MissingFilesDialog::MissingFilesDialog(const ProjectDescription& project, QWidget* parent)
    : BaseDialog(parent), m_project(project), m_missing(missingFiles(project)), m_files(new QTreeWidget),
      m_problem(new QLabel) {
    setObjectName("missingFilesDialog");
    setWindowTitle(tr("项目缺少文件"));
    build();
    m_titleBar->setTitleContent(windowTitle());
    m_titleBar->setButtonType(titleBar::OnlyClose);
    updateLayout();
    showFiles();
}

void MissingFilesDialog::build() {
    constexpr QSize kSize(760, 360);
    constexpr int kMargin = 16;
    auto* text =
        new QLabel(tr("项目“%1”的以下文件不在原处。选择其中一个现在的位置，随它一起移动的文件会一并找到。"
                      "略过时项目仍会打开，缺少的内容不显示。")
                       .arg(m_project.name));
    text->setWordWrap(true);
    text->setTextFormat(Qt::PlainText);
    m_files->setObjectName("missingFiles");
    m_files->setHeaderLabels({tr("文件"), tr("原来的位置")});
    m_files->setRootIsDecorated(false);
    m_files->setTextElideMode(Qt::ElideMiddle);
    m_files->header()->setSectionResizeMode(0, QHeaderView::ResizeToContents);
    m_problem->setObjectName("missingProblem");
    m_problem->setWordWrap(true);
    m_problem->setTextFormat(Qt::PlainText);
    m_problem->setStyleSheet(theme::styleSheet("color: @danger;"));
    auto* locateButton = new QPushButton(tr("定位…"));
    locateButton->setObjectName("locate");
    locateButton->setDefault(true);
    auto* skip = new QPushButton(tr("略过"));
    skip->setObjectName("skip");
    skip->setAutoDefault(false);
    connect(locateButton, &QPushButton::clicked, this, &MissingFilesDialog::locate);
    connect(skip, &QPushButton::clicked, this, &QDialog::reject);
    auto* buttons = new QHBoxLayout;
    buttons->addWidget(m_problem, 1);
    buttons->addWidget(locateButton);
    buttons->addWidget(skip);
    auto* column = new QVBoxLayout(this);
    column->setContentsMargins(kMargin, 10, kMargin, 12);
    column->setSpacing(10);
    column->addWidget(text);
    column->addWidget(m_files, 1);
    column->addLayout(buttons);
    resize(kSize);
}

void MissingFilesDialog::showFiles() {
    m_files->clear();
    for (const MissingFile& file : m_missing) {
        auto* item = new QTreeWidgetItem(m_files, {file.title(), QDir::toNativeSeparators(file.path)});
        item->setToolTip(1, plainToolTip(file.path));
    }
    m_files->setCurrentItem(m_files->topLevelItem(0));
}

void MissingFilesDialog::locate() {
    const int index = std::max(0, m_files->indexOfTopLevelItem(m_files->currentItem()));
    const MissingFile which = m_missing[static_cast<std::size_t>(index)];
    const QString file = FileChoice(this, "data", tr("%1现在的位置").arg(which.title()))
                             .beginAt(QFileInfo(which.path).absolutePath())
                             .existingFile();
    if (file.isEmpty()) {
        return;
    }
    const auto stored =
        store(m_project.folder, locatedAt(file, which, m_missing), locatedAt(file, which, {}));
    if (!stored) {
        m_problem->setText(stored.error().userMessage);
        return;
    }
    m_problem->clear();
    m_project = *stored;
    m_missing = missingFiles(m_project);
    if (m_missing.empty()) {
        accept();
    } else {
        showFiles();
    }
}

} // namespace inspection
