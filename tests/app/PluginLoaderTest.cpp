#include "workbench/app/PluginLoader.h"

#include <gtest/gtest.h>

#include <QFile>
#include <QTemporaryDir>

namespace {

void expectOneLineWith(const std::optional<QString>& problem, const QString& cause) {
    ASSERT_TRUE(problem.has_value());
    EXPECT_TRUE(problem->contains(cause)) << problem->toStdString();
    EXPECT_FALSE(problem->contains('\n'));
}

TEST(PluginLoader, AMissingFileIsNamed) {
    const auto problem = loadToolPlugin("/nowhere/libMissing.so");
    expectOneLineWith(problem, "/nowhere/libMissing.so");
    expectOneLineWith(problem, QString::fromUtf8("文件不存在"));
}

TEST(PluginLoader, AFileThatIsNoLibraryIsRefused) {
    QTemporaryDir folder;
    const QString path = folder.filePath("libText.so");
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write("this is a text");
    file.close();
    expectOneLineWith(loadToolPlugin(path), QString::fromUtf8("不是可用的动态库"));
}

TEST(PluginLoader, ALibraryWithoutCreateIsRefused) {
    expectOneLineWith(loadToolPlugin(PLUGIN_WITHOUT_CREATE), QString::fromUtf8("没有导出函数 Create"));
}

TEST(PluginLoader, AnExceptionOfCreateIsAMessage) {
    expectOneLineWith(loadToolPlugin(THROWING_PLUGIN), "no licence");
}

} // namespace
