#include "workbench/app/PluginLoader.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>
#include <QLibrary>

#include <exception>

namespace {

using CreateFunction = void (*)();

QString failure(const QString& file, const QString& cause) {
    return QString::fromUtf8("无法加载工具插件 %1：%2").arg(QDir::toNativeSeparators(file), cause);
}

} // namespace

std::optional<QString> loadToolPlugin(const QString& file) {
    if (!QFileInfo(file).isFile()) {
        return failure(file, QString::fromUtf8("文件不存在"));
    }

    QLibrary library(file);
    library.setLoadHints(QLibrary::PreventUnloadHint);
    if (!library.load()) {
        return failure(file,
                       QString::fromUtf8("不是可用的动态库（%1）").arg(library.errorString().simplified()));
    }

    const auto create = reinterpret_cast<CreateFunction>(library.resolve("Create"));
    if (!create) {
        return failure(file, QString::fromUtf8("没有导出函数 Create"));
    }

    try {
        create();
    } catch (const std::exception& error) {
        return failure(file,
                       QString::fromUtf8("Create 失败（%1）").arg(QString::fromLocal8Bit(error.what())));
    } catch (...) {
        return failure(file, QString::fromUtf8("Create 失败"));
    }
    return std::nullopt;
}

QString defaultPluginFile() {
#ifdef Q_OS_WIN
    const QString name = "ToolPluginorva.dll";
#else
    const QString name = "libToolPluginorva.so";
#endif
    return QDir(QCoreApplication::applicationDirPath()).filePath(name);
}
