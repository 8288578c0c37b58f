#include "tests/support/QtMain.h"

#include <QTemporaryDir>

int main(int argc, char** argv) {
    const QTemporaryDir home; // the user's settings are not touched
    qputenv("XDG_CONFIG_HOME", home.path().toUtf8());
    return runTestsInApplication(argc, argv, [] {});
}
