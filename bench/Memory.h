#pragma once

#include <QByteArray>
#include <QFile>

/// Of this process, megabytes.
inline double residentMegabytes() {
    QFile status("/proc/self/status");
    if (status.open(QFile::ReadOnly)) {
        for (const QByteArray& line : status.readAll().split('\n')) {
            if (line.startsWith("VmRSS:")) {
                return line.mid(6).trimmed().split(' ').front().toDouble() / 1024.0;
            }
        }
    }
    return 0.0;
}
