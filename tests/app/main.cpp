#include "tests/support/QtMain.h"
#include "workbench/app/Theme.h"
#include "workbench/viewer/GlobeWidget.h"

#include <QDir>
#include <QFileInfo>
#include <QTemporaryDir>

namespace {

class ProductLook : public testing::Environment {
public:
    void SetUp() override { applyTheme(*qApp); }
};

} // namespace

int main(int argc, char** argv) {
    const QTemporaryDir home; // the user's settings, pictures and documents are not touched
    for (const char* place : {"HOME", "XDG_CONFIG_HOME", "XDG_CACHE_HOME"}) {
        qputenv(place, home.path().toUtf8());
    }
    // The driver keeps to what it found first, also where that was the cache of one test only.
    qputenv("MESA_SHADER_CACHE_DIR", home.path().toUtf8());
    testing::AddGlobalTestEnvironment(new ProductLook);
    return runTestsInApplication(argc, argv, [] {
        GlobeWidget::installSurfaceFormat();
        // Qt's own file dialogs: those of a desktop cannot be driven by events.
        QCoreApplication::setAttribute(Qt::AA_DontUseNativeDialogs);
        // Tools read their markers relative to the working directory, which the program makes its own folder.
        QDir::setCurrent(QFileInfo(WORKBENCH_PROGRAM).absolutePath());
    });
}
