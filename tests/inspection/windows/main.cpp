#include "tests/inspection/SteadyLook.h"
#include "tests/support/QtMain.h"
#include "workbench/viewer/GlobeWidget.h"

int main(int argc, char** argv) {
    testing::AddGlobalTestEnvironment(new SteadyLook);
    return runTestsInApplication(argc, argv, GlobeWidget::installSurfaceFormat);
}
