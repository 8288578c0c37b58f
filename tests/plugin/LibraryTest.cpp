#include "tests/plugin/PluginHost.h"

#include <QProcess>

namespace {

/// Names in the library's table of what it shows or what it needs, as the linker knows them.
QStringList namesIn(const QString& library, const QString& table) {
    QProcess lister;
    lister.start("nm", {"-D", table, "--format=posix", library});
    EXPECT_TRUE(lister.waitForFinished(60000)) << lister.errorString().toStdString();
    EXPECT_EQ(lister.exitCode(), 0) << lister.readAllStandardError().toStdString();
    QStringList names;
    for (const QString& line :
         QString::fromLocal8Bit(lister.readAllStandardOutput()).split('\n', Qt::SkipEmptyParts)) {
        names << line.section(' ', 0, 0).section('@', 0, 0); // without its version
    }
    return names;
}

TEST(Library, ShowsNothingButCreate) {
    QStringList names = namesIn(TOOL_PLUGIN, "--defined-only");
    for (const char* ofTheLinker : {"_init", "_fini", "_edata", "_end", "__bss_start"}) {
        names.removeAll(ofTheLinker);
    }
    EXPECT_EQ(names, QStringList{"Create"});
}

TEST(Library, StartsNoThreadAndSharesNothingWithOne) {
    // pthread_mutex_lock is not among them: looking something up in the index of objects takes the index's own
    // lock, in code of the globe library that is compiled here.
    for (const QString& name : namesIn(TOOL_PLUGIN, "--undefined-only")) {
        for (const char* thread :
             {"pthread_create", "6thread11_M_start_thread", "7QThread5start", "11QThreadPool",
              "12QtConcurrent", "6QMutex", "11QBasicMutex", "14QReadWriteLock", "10QSemaphore",
              "pthread_rwlock", "pthread_cond_", "18condition_variable", "11OpenThreads5Mutex"}) {
            EXPECT_FALSE(name.contains(QLatin1String(thread))) << name.toStdString();
        }
    }
}

} // namespace
