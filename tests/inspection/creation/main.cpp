#include "tests/support/QtMain.h"
#include "workbench/style/Theme.h"

#include <QTemporaryDir>

namespace {

class ProductLook : public testing::Environment {
public:
    void SetUp() override { theme::installOn(*qApp); }
};

} // namespace

int main(int argc, char** argv) {
    testing::AddGlobalTestEnvironment(new ProductLook);
    const QTemporaryDir home; // projects are proposed among the documents in it
    qputenv("HOME", home.path().toUtf8());
    return runTestsInApplication(argc, argv, [] {
        // Qt's own file dialogs: those of a desktop cannot be driven by events.
        QCoreApplication::setAttribute(Qt::AA_DontUseNativeDialogs);
    });
}
