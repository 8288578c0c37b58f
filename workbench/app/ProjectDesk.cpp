#include "workbench/app/ProjectDesk.h"

#include "host/style/myMessageBox.h"
#include "workbench/app/DropQuestion.h"
#include "workbench/app/DroppedFiles.h"
#include "workbench/app/MainWindow.h"
#include "workbench/app/ProjectPicture.h"
#include "workbench/app/RecentCard.h"
#include "workbench/app/StartPage.h"
#include "workbench/app/TrustDialog.h"
#include "workbench/engine/EngineContext.h"
#include "workbench/inspection/context/InspectionContext.h"
#include "workbench/inspection/creation/MissingFilesDialog.h"
#include "workbench/inspection/creation/NewProjectDialog.h"
#include "workbench/inspection/creation/ProjectSettingsDialog.h"
#include "workbench/inspection/tree/StationTree.h"
#include "workbench/style/FileChoice.h"
#include "workbench/viewer/GlobeWidget.h"

#include <osgEarthUtil/EarthManipulator>

#include <QDir>
#include <QFileInfo>
#include <QMenu>

using inspection::MissingFilesDialog;
using inspection::NewProjectDialog;
using inspection::ProjectSettingsDialog;

ProjectDesk::ProjectDesk(MainWindow& window, StartPage& page)
    : m_window(window), m_page(page), m_epochs(window) {
    connect(&InspectionContext::instance(), &InspectionContext::projectClosing, this, [this] {
        keepPresentStay();
        m_hasWelcomed = false;
    });
    connect(&m_epochs, &EpochDesk::dropped, this, &ProjectDesk::takeDropped);
    connect(&page, &StartPage::newRequested, this, [this] { makeNew(); });
    connect(&page, &StartPage::openRequested, this, &ProjectDesk::choose);
    connect(&page, &StartPage::projectChosen, this, &ProjectDesk::open);
    connect(&page, &StartPage::sampleRequested, this, &ProjectDesk::makeSample);
    connect(&page, &StartPage::sampleCancelled, &m_sample, &SampleMaker::cancel);
    connect(&m_sample, &SampleMaker::progressed, &page, &StartPage::showSampleProgress);
    connect(&m_sample, &SampleMaker::cancelled, &page, [&page] { page.showSampleProgress(-1); });
    connect(&m_sample, &SampleMaker::finished, this, &ProjectDesk::endSample);
}

// The project is closed after the desk has gone.
ProjectDesk::~ProjectDesk() {
    keepPresentStay();
}

void ProjectDesk::open(const QString& folder) {
    if (!TrustDialog::settle(folder, &m_window)) {
        m_page.showRecent();
        return;
    }
    askForMissingFiles(folder);
    if (const std::optional<QString> problem = m_window.openProject(folder)) {
        m_page.showRecent();
        tell(*problem, myMessageBox::Warning);
        return;
    }
    welcome();
    const QString reason = InspectionContext::instance().readOnlyReason();
    if (!reason.isEmpty()) {
        tell(reason, myMessageBox::Warning);
    }
}

void ProjectDesk::welcome() {
    InspectionContext& context = InspectionContext::instance();
    if (!context.project()) {
        return;
    }
    const inspection::ProjectDescription& project = context.project()->description();
    RecentProjects::add(project.folder, project.name);
    keepPicture(project);
    if (const auto stay = keptStay(project.folder)) {
        goTo(*stay);
    } else {
        context.showComputedStations();
    }
    m_hasWelcomed = true;
}

void ProjectDesk::goTo(const ProjectStay& stay) {
    InspectionContext::instance().setStationChoice(stay.stations);
    m_window.showEpoch(stay.shownEpoch);
    if (stay.view.isValid()) {
        m_window.globe().getManipulator()->setViewpoint(stay.view, 0.0);
    }
    m_window.globe().requestRedraw();
}

ProjectStay ProjectDesk::presentStay() const {
    return {InspectionContext::instance().stationChoice(), m_window.shownEpoch(),
            m_window.globe().getManipulator()->getViewpoint()};
}

void ProjectDesk::keepPresentStay() const {
    if (const inspection::Project* project = InspectionContext::instance().project()) {
        if (m_hasWelcomed) {
            keepStay(project->description().folder, presentStay());
        }
    }
}

void ProjectDesk::choose() {
    const auto recent = RecentProjects::all();
    const QString start = recent.empty() ? QString() : QFileInfo(recent.front().folder).absolutePath();
    const QString folder =
        FileChoice(&m_window, "projects", tr("打开项目文件夹")).beginAt(start).existingFolder();
    if (!folder.isEmpty()) {
        open(folder);
    }
}

void ProjectDesk::makeNew(const QStringList& rasters, const QString& centerline) {
    if (!m_dialog || !m_dialog->isVisible()) {
        m_dialog = new NewProjectDialog(&m_window);
        connect(m_dialog, &NewProjectDialog::created, this, &ProjectDesk::finishNew);
        connect(m_dialog, &NewProjectDialog::dropped, this, &ProjectDesk::takeDropped);
    }
    m_dialog->addFiles(rasters, centerline);
    m_dialog->open();
}

void ProjectDesk::changeSettings() {
    InspectionContext& context = InspectionContext::instance();
    if (!context.project() || (m_settings && m_settings->isVisible())) {
        return;
    }
    if (!context.readOnlyReason().isEmpty() || context.isWorking()) {
        tell(context.isWorking() ? tr("正在计算或输出，请等待完成后再更改项目") : context.readOnlyReason(),
             myMessageBox::Warning);
        return;
    }
    const auto present = context.presentProject();
    if (!present) {
        tell(present.error().userMessage, myMessageBox::Warning);
        return;
    }
    m_settings = new ProjectSettingsDialog(*present, &m_window);
    connect(m_settings, &ProjectSettingsDialog::applying, this, &ProjectDesk::leaveProject);
    connect(m_settings, &ProjectSettingsDialog::applied, this, &ProjectDesk::comeBack);
    m_settings->open();
}

void ProjectDesk::leaveProject() {
    InspectionContext& context = InspectionContext::instance();
    zeo::EngineContext::instance().deactivateTool();
    m_left = context.project()->description().folder;
    m_hasWelcomed = true; // he is to come back to what he sees now
    context.closeProject();
}

void ProjectDesk::comeBack() {
    if (const std::optional<QString> problem = m_window.openProject(m_left)) {
        m_window.showStartPage();
        tell(*problem, myMessageBox::Warning);
        return;
    }
    welcome();
}

void ProjectDesk::askForMissingFiles() {
    const inspection::Project* project = InspectionContext::instance().project();
    if (project && !inspection::missingFiles(project->description()).empty()) {
        open(project->description().folder);
    }
}

void ProjectDesk::askForMissingFiles(const QString& folder) {
    const auto project = inspection::Project::open(folder, inspection::Project::Access::ReadOnly);
    if (!project || inspection::missingFiles(project->description()).empty()) {
        return;
    }
    InspectionContext& context = InspectionContext::instance();
    if (context.project() && QFileInfo(context.project()->description().folder) == QFileInfo(folder)) {
        context.closeProject(); // its own lock would be in the way
    }
    MissingFilesDialog(project->description(), &m_window).exec();
}

void ProjectDesk::finishNew(const QString& folder, const QStringList& notes) {
    constexpr qsizetype kMostLines = 12;
    open(folder);
    if (notes.isEmpty()) {
        return;
    }
    QString text = tr("项目已建立。\n") + notes.mid(0, kMostLines).join('\n');
    if (notes.size() > kMostLines) {
        text += tr("\n……共 %1 条").arg(notes.size());
    }
    tell(text, myMessageBox::Information);
}

void ProjectDesk::takeDropped(const QStringList& paths) {
    const DroppedFiles files = sortDropped(paths);
    const inspection::Project* project = InspectionContext::instance().project();
    const bool isMakingOne = m_dialog && m_dialog->isVisible();
    if (!isMakingOne && m_epochs.takeDropped(files.rasters, files.vectors)) {
        return;
    }
    if (!isMakingOne && !files.project.isEmpty()) {
        open(files.project);
    } else if (isMakingOne || !project) {
        makeNew(files.rasters, files.vectors.value(0));
    } else if (files.rasters.isEmpty()) {
        m_epochs.import(files.vectors);
    } else {
        placeDropped(files, project->description().name);
    }
}

void ProjectDesk::placeDropped(const DroppedFiles& files, const QString& project) {
    const auto count = static_cast<int>(files.rasters.size() + files.vectors.size());
    switch (DropQuestion(count, project, &m_window).ask()) {
    case DropQuestion::Answer::AddEpoch:
        m_epochs.add(files.rasters);
        break;
    case DropQuestion::Answer::NewProject:
        makeNew(files.rasters, files.vectors.value(0));
        break;
    case DropQuestion::Answer::Cancel:
        break;
    }
}

void ProjectDesk::fillMenu(QMenu& menu) {
    constexpr int kMostPixels = 320;
    menu.clear();
    menu.addAction(tr("新建项目…"), this, [this] { makeNew(); });
    menu.addAction(tr("项目设置…"), this, &ProjectDesk::changeSettings)
        ->setEnabled(InspectionContext::instance().project() != nullptr);
    menu.addSeparator();
    m_epochs.fillMenu(menu);
    menu.addSection(tr("最近的项目"));
    for (const RecentProject& project : RecentProjects::all()) {
        const QString path = QDir::toNativeSeparators(project.folder);
        const QString place = menu.fontMetrics().elidedText(path, Qt::ElideMiddle, kMostPixels);
        QString text = project.name + QStringLiteral("  —  ") + place;
        text.replace('&', "&&"); // or it would underline a letter
        menu.addAction(text, this, [this, folder = project.folder] { open(folder); });
    }
}

void ProjectDesk::makeSample() {
    m_page.showSampleProgress(0);
    m_sample.start();
}

// Whoever has opened another project meanwhile finds the sample among the recent ones.
void ProjectDesk::endSample(const QString& problem) {
    m_page.showSampleProgress(-1);
    if (!problem.isEmpty()) {
        tell(problem, myMessageBox::Warning);
    } else if (m_page.isVisible()) {
        open(SampleMaker::folder());
    } else {
        RecentProjects::add(SampleMaker::folder(), QFileInfo(SampleMaker::folder()).fileName());
    }
}

void ProjectDesk::keepPicture(const inspection::ProjectDescription& project) {
    constexpr int kSharpness = 2; // pixels of the file for one of the card
    m_pictures.ask([project] {
        const QImage picture = projectPicture(project, RecentCard::kPicture * kSharpness);
        const QString file = thumbnailFile(project.folder);
        QDir().mkpath(QFileInfo(file).absolutePath());
        if (!picture.isNull()) {
            picture.convertToFormat(QImage::Format_RGB32).save(file);
        }
        return [] {};
    });
}

void ProjectDesk::tell(const QString& text, int type) {
    myMessageBox::showMyMessageBox(&m_window, tr("提示"), text, type, myMessageBox::Ok);
}
