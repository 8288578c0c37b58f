#include "tests/plugin/PluginHost.h"

#include <gtest/gtest.h>

#include <QApplication>
#include <QDir>

// The plug-in's Create may be called once in a process, so all tests share one host.
int main(int argc, char** argv) {
    ::testing::InitGoogleTest(&argc, argv);
    GlobeWidget::installSurfaceFormat();
    QApplication application(argc, argv);
    // The markers of the globe lie in "icon/" beside the programs.
    QDir::setCurrent(QCoreApplication::applicationDirPath());
    PluginHost host;
    return RUN_ALL_TESTS();
}
