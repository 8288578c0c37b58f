#include "workbench/app/HeadlessRun.h"
#include "workbench/app/MainWindow.h"
#include "workbench/app/Options.h"
#include "workbench/app/PluginLoader.h"
#include "workbench/app/ProjectDesk.h"
#include "workbench/app/Theme.h"

#include "detect/GdalErrors.h"
#include "host/style/myMessageBox.h"
#include "workbench/inspection/context/InspectionContext.h"
#include "workbench/inspectiondata/creation/CreateProject.h"
#include "workbench/inspectiondata/project/RasterPlace.h"
#include "workbench/inspectiondata/project/TrustedPlaces.h"
#include "workbench/inspectiondata/project/Utf8Locale.h"
#include "workbench/viewer/GlobeWidget.h"

#include <QApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFileInfo>
#include <QLibraryInfo>
#include <QStandardPaths>
#include <QTextStream>
#include <QTimer>
#include <QTranslator>

#include <cstdio>
#include <cstdlib>

namespace {

QString absolute(const QString& path) {
    return path.isEmpty() ? path : QFileInfo(path).absoluteFilePath();
}

// The tools read their markers from "icon/" and keep their attribute history in the working directory.
void enterWorkingDirectory() {
    QDir::setCurrent(QCoreApplication::applicationDirPath());
}

void makePathsAbsolute(Options& options) {
    options.projectFolder = absolute(options.projectFolder);
    options.oldRaster = absolute(options.oldRaster);
    options.newRaster = absolute(options.newRaster);
    options.headlessFolder = absolute(options.headlessFolder);
    options.pluginFile = absolute(options.pluginFile);
}

QString folderForRasters(const Options& options) {
    if (!options.projectFolder.isEmpty()) {
        return options.projectFolder;
    }
    if (!options.headlessFolder.isEmpty()) {
        return QDir(options.headlessFolder).filePath("project");
    }
    const QString name = QFileInfo(options.oldRaster).completeBaseName() + "_" +
                         QFileInfo(options.newRaster).completeBaseName();
    return QDir(QStandardPaths::writableLocation(QStandardPaths::AppLocalDataLocation)).filePath(name);
}

// One Chinese line when the project that the command line names cannot be opened.
std::optional<QString> openWhatWasAskedFor(MainWindow& window, const Options& options) {
    if (options.oldRaster.isEmpty()) {
        return options.projectFolder.isEmpty() ? std::nullopt : window.openProject(options.projectFolder);
    }
    const QString folder = folderForRasters(options);
    {
        const auto made =
            inspection::openOrCreateProject(folder, {options.oldRaster, options.newRaster, {}, {}});
        if (!made) {
            return made.error().userMessage;
        }
    }
    return window.openProject(folder);
}

// The run is there before the plug-in is loaded, so that no message waits for somebody to close it.
int runHeadless(MainWindow& window, const QString& plugin, const Options& options, const QString& problem,
                const QElapsedTimer& sinceStart) {
    if (!problem.isEmpty()) {
        QTextStream(stderr) << problem << '\n';
        return 1;
    }
    HeadlessRun run(window, options.headlessFolder, sinceStart);
    InspectionContext::instance().setOutputFolder(options.headlessFolder);
    window.loadPlugin(plugin);
    return run.run();
}

void runInteractive(MainWindow& window, const QString& plugin, const QString& problem) {
    if (!problem.isEmpty()) {
        myMessageBox::showMyMessageBox(&window, QString::fromUtf8("提示"), problem, myMessageBox::Warning,
                                       myMessageBox::Ok);
    }
    window.loadPlugin(plugin);
}

int runWorkbench(const Options& options, const QElapsedTimer& sinceStart) {
    const bool headless = !options.headlessFolder.isEmpty();
    if (headless && !QDir().mkpath(options.headlessFolder)) {
        QTextStream(stderr) << options.headlessFolder << ": cannot be made\n";
        return 1;
    }

    MainWindow window;
    if (!headless) {
        window.rememberLayout();
        window.showStartPage(); // what is opened takes its place
    }
    window.show();
    const bool mustAsk = !headless && options.oldRaster.isEmpty() && !options.projectFolder.isEmpty() &&
                         !inspection::untrustedPlaces(options.projectFolder).empty();
    QString problem = mustAsk ? QString() : openWhatWasAskedFor(window, options).value_or(QString());
    if (problem.isEmpty()) {
        problem = InspectionContext::instance().readOnlyReason();
    }
    if (!headless) {
        window.desk().welcome();
    }
    const QString plugin = options.pluginFile.isEmpty() ? defaultPluginFile() : options.pluginFile;
    int status = 0;
    // Messages wait for the event loop, so that they stand in front of a window that is there and running.
    QTimer::singleShot(0, &window, [&] {
        if (!headless) {
            runInteractive(window, plugin, problem);
            return mustAsk ? window.desk().open(options.projectFolder) : window.desk().askForMissingFiles();
        }
        status = runHeadless(window, plugin, options, problem, sinceStart);
        QCoreApplication::exit(status);
    });
    return QApplication::exec() == 0 ? status : 1;
}

// A server that does not answer holds its thread until GDAL gives it up. By now everything is stored and
// closed, so the program does not wait for that.
int leave(int status) {
    constexpr int kPatienceMilliseconds = 1000;
    if (!GlobeMap::finishLoading(kPatienceMilliseconds)) {
        std::fflush(nullptr);
        std::_Exit(status);
    }
    return status;
}

} // namespace

int main(int argc, char** argv) {
    QElapsedTimer sinceStart;
    sinceStart.start();
    detect::silenceTiff();
    inspection::useUtf8Locale();
    inspection::limitPatienceWithServers();
    if (asksForHelp(QStringList(argv, argv + argc))) {
        QTextStream(stdout) << usageText();
        return 0;
    }
    GlobeWidget::installSurfaceFormat();
    QApplication application(argc, argv);
    QCoreApplication::setApplicationName("corridor");

    QTranslator dialogTexts; // Qt's own, where the distribution's package has laid them down
    if (dialogTexts.load("qtbase_zh_CN", QLibraryInfo::path(QLibraryInfo::TranslationsPath))) {
        QCoreApplication::installTranslator(&dialogTexts);
    }

    auto options = parseOptions(QCoreApplication::arguments().mid(1)); // less those that Qt took
    if (!options) {
        const UsageAnswer& answer = options.error();
        QTextStream(answer.exitStatus == 0 ? stdout : stderr) << answer.text;
        return answer.exitStatus;
    }
    makePathsAbsolute(*options);
    enterWorkingDirectory();
    applyTheme(application);
    return leave(runWorkbench(*options, sinceStart));
}
