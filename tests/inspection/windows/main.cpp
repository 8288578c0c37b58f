#include "tests/inspection/SteadyLook.h"
#include "tests/support/QtMain.h"
#include "workbench/viewer/GlobeWidget.h"

#include <QSettings>
#include <QTemporaryDir>

int main(int argc, char** argv) {
    const QTemporaryDir settings; // the user's own are none of the tests'
    QSettings::setPath(QSettings::IniFormat, QSettings::UserScope, settings.path());
    testing::AddGlobalTestEnvironment(new SteadyLook);
    return runTestsInApplication(argc, argv, GlobeWidget::installSurfaceFormat);
}
