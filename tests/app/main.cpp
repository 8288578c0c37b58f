#include "tests/support/QtMain.h"
#include "workbench/app/Theme.h"
#include "workbench/viewer/GlobeWidget.h"

#include <QDir>
#include <QFileInfo>

int main(int argc, char** argv) {
    return runTestsInApplication(argc, argv, [] {
        GlobeWidget::installSurfaceFormat();
        // Tools read their markers relative to the working directory, which the program makes its own folder.
        QDir::setCurrent(QFileInfo(WORKBENCH_PROGRAM).absolutePath());
    });
}
