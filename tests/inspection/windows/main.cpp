#include "tests/support/QtMain.h"
#include "workbench/app/Theme.h"
#include "workbench/viewer/GlobeWidget.h"

namespace {

/// The product's look, and Qt's own file dialogs: those of a desktop cannot be driven by events.
class ProductLook : public testing::Environment {
public:
    void SetUp() override {
        QCoreApplication::setAttribute(Qt::AA_DontUseNativeDialogs);
        applyTheme(*qApp);
    }
};

} // namespace

int main(int argc, char** argv) {
    testing::AddGlobalTestEnvironment(new ProductLook);
    return runTestsInApplication(argc, argv, GlobeWidget::installSurfaceFormat);
}
