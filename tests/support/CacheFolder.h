#pragma once

#include <QByteArray>
#include <QTemporaryDir>

/// The user's cache folder is an empty one of its own while this lives.
class CacheFolder {
public:
    CacheFolder() : m_wasSet(qEnvironmentVariableIsSet(kVariable)), m_former(qgetenv(kVariable)) {
        qputenv(kVariable, m_folder.path().toLocal8Bit());
    }
    ~CacheFolder() {
        if (m_wasSet) {
            qputenv(kVariable, m_former);
        } else {
            qunsetenv(kVariable);
        }
    }
    CacheFolder(const CacheFolder&) = delete;
    CacheFolder& operator=(const CacheFolder&) = delete;

private:
    static constexpr const char* kVariable = "XDG_CACHE_HOME";
    QTemporaryDir m_folder;
    bool m_wasSet;
    QByteArray m_former;
};
