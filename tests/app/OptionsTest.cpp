#include "workbench/app/Options.h"

#include <gtest/gtest.h>

#include <QProcess>

namespace {

Options parsed(const QStringList& arguments) {
    const auto answer = parseOptions(arguments);
    EXPECT_TRUE(answer);
    return answer.value_or(Options{});
}

UsageAnswer refused(const QStringList& arguments) {
    const auto answer = parseOptions(arguments);
    EXPECT_FALSE(answer);
    return answer ? UsageAnswer{} : answer.error();
}

TEST(Options, NothingMeansAnEmptyWorkbench) {
    const Options options = parsed({});
    EXPECT_TRUE(options.projectFolder.isEmpty());
    EXPECT_TRUE(options.headlessFolder.isEmpty());
}

TEST(Options, ProjectAndHeadlessFolderAreToldApart) {
    const Options options = parsed({"--headless", "out", "project"});
    EXPECT_EQ(options.projectFolder, "project");
    EXPECT_EQ(options.headlessFolder, "out");
}

TEST(Options, RastersComeInPairs) {
    const Options options = parsed({"--old", "a.tif", "--new", "b.tif"});
    EXPECT_EQ(options.oldRaster, "a.tif");
    EXPECT_EQ(options.newRaster, "b.tif");
    EXPECT_EQ(refused({"--old", "a.tif"}).exitStatus, 2);
    EXPECT_EQ(refused({"--new", "b.tif"}).exitStatus, 2);
}

TEST(Options, WrongUseIsOneLineAndStatusTwo) {
    for (const QStringList& arguments : {QStringList{"--nonsense"}, QStringList{"a", "b"}}) {
        const UsageAnswer answer = refused(arguments);
        EXPECT_EQ(answer.exitStatus, 2);
        EXPECT_EQ(answer.text.count('\n'), 1);
    }
}

TEST(Options, HelpIsNoError) {
    const UsageAnswer answer = refused({"--help"});
    EXPECT_EQ(answer.exitStatus, 0);
    EXPECT_TRUE(answer.text.contains("--headless"));
    EXPECT_EQ(refused({"-h"}).exitStatus, 0);
}

TEST(Options, HelpNeedsNoDisplay) {
    QProcess program;
    QProcessEnvironment bare;
    bare.insert("LC_ALL", "C.UTF-8");
    program.setProcessEnvironment(bare);
    program.start(WORKBENCH_PROGRAM, {"--help"});
    ASSERT_TRUE(program.waitForFinished());
    EXPECT_EQ(program.exitStatus(), QProcess::NormalExit);
    EXPECT_EQ(program.exitCode(), 0);
    EXPECT_EQ(QString::fromUtf8(program.readAllStandardOutput()), usageText());
}

} // namespace
