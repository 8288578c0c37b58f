#include "tests/inspection/SteadyLook.h"
#include "tests/support/QtMain.h"

#include <QTemporaryDir>

int main(int argc, char** argv) {
    testing::AddGlobalTestEnvironment(new SteadyLook);
    const QTemporaryDir home; // projects are proposed among the documents in it
    qputenv("HOME", home.path().toUtf8());
    return runTestsInApplication(argc, argv, [] {
        // Qt's own file dialogs: those of a desktop cannot be driven by events.
        QCoreApplication::setAttribute(Qt::AA_DontUseNativeDialogs);
    });
}
