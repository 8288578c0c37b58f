#include "tests/support/QtMain.h"
#include "workbench/viewer/GlobeWidget.h"

int main(int argc, char** argv) {
    return runTestsInApplication(argc, argv, GlobeWidget::installSurfaceFormat);
}
