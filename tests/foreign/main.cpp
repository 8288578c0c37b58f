#include "tests/foreign/ForeignHost.h"

#include <gtest/gtest.h>

#include <QApplication>
#include <QDir>
#include <QTemporaryDir>

// The plug-in's Create may be called once in a process, so all tests share one host.
int main(int argc, char** argv) {
    ::testing::InitGoogleTest(&argc, argv);
    const QApplication application(argc, argv);
    // The attribute history is written to the working directory, and the markers are read from it.
    const QTemporaryDir folder;
    QFile::link(QCoreApplication::applicationDirPath() + "/icon", folder.filePath("icon"));
    QDir::setCurrent(folder.path());
    const bool isOwn = argc > 1 && QString(argv[1]) == "frames-on-their-own-thread";
    ForeignHost host(isOwn ? ForeignHost::Frames::OnAThreadOfTheirOwn : ForeignHost::Frames::OnTheGuiThread);
    if (!host.load(TOOL_PLUGIN)) {
        return 1;
    }
    return RUN_ALL_TESTS();
}
