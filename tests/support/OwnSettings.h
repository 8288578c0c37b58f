#pragma once

#include <QByteArray>
#include <QTemporaryDir>

/// The user's settings are empty ones of their own while this lives, also for programs that are started. First in main.
class OwnSettings {
public:
    OwnSettings() { qputenv("XDG_CONFIG_HOME", m_folder.path().toLocal8Bit()); }

private:
    QTemporaryDir m_folder;
};
