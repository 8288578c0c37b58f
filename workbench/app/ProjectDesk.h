#pragma once

#include "workbench/app/EpochDesk.h"
#include "workbench/app/ProjectStay.h"
#include "workbench/app/SampleMaker.h"
#include "workbench/inspection/images/LatestRead.h"
#include "workbench/inspectiondata/project/ProjectDescription.h"

#include <QObject>
#include <QPointer>
#include <QStringList>

class MainWindow;
struct DroppedFiles;
class QMenu;
class StartPage;

namespace inspection {
class NewProjectDialog;
class ProjectSettingsDialog;
} // namespace inspection

/// The ways to a project: choosing one, making one, the recent ones, the sample, files dropped on the window. Tells
/// the user what does not work. GUI thread.
class ProjectDesk : public QObject {
    Q_OBJECT

public:
    /// Both must outlive it.
    ProjectDesk(MainWindow& window, StartPage& page);
    ~ProjectDesk() override;

    /// Opens a project and keeps it among the recent ones; one that cannot be opened is told in a message box. Before, the
    /// user is asked whether it may use places outside of its folder, and for files of it that are missing.
    void open(const QString& folder);
    /// Puts the open project, if there is one, on top of the recent ones, and takes the user back to where he was in it on
    /// this machine. Somebody who was never there sees all that has been computed.
    void welcome();
    void choose();
    /// Lets the user make a project, with these files to begin with. While one is being made they are added to it.
    void makeNew(const QStringList& rasters = {}, const QString& centerline = {});
    /// Lets the user change the open project.
    void changeSettings();
    /// Asks for the files that the open project misses.
    void askForMissingFiles();
    void takeDropped(const QStringList& paths);
    /// The ways of files into the open project.
    EpochDesk& epochs() { return m_epochs; }
    /// Fills a menu with the ways into the open project and to another one.
    void fillMenu(QMenu& menu);

private:
    void placeDropped(const DroppedFiles& files, const QString& project);
    void finishNew(const QString& folder, const QStringList& notes);
    void makeSample();
    void askForMissingFiles(const QString& folder);
    /// The project is closed while it is changed, and opened again with what the user sees and has chosen.
    void leaveProject();
    void comeBack();
    void goTo(const ProjectStay& stay);
    ProjectStay presentStay() const;
    void keepPresentStay() const;
    void endSample(const QString& problem);
    void keepPicture(const inspection::ProjectDescription& project);
    void tell(const QString& text, int type);

    MainWindow& m_window;
    StartPage& m_page;
    EpochDesk m_epochs;
    QPointer<inspection::NewProjectDialog> m_dialog;
    QPointer<inspection::ProjectSettingsDialog> m_settings;
    SampleMaker m_sample;
    inspection::LatestRead m_pictures;
    bool m_hasWelcomed = false; ///< the open project was not opened by a program alone
    QString m_left;             ///< folder of the project that is being changed
};
