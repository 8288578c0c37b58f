#include "workbench/inspectiondata/project/LocalSettings.h"

#include <QDir>
#include <QUrl>

namespace inspection {

LocalSettings::LocalSettings()
    : QSettings(QSettings::IniFormat, QSettings::UserScope, "corridor", "workbench") {}

// The path in one piece, without the characters that divide keys.
LocalSettings::LocalSettings(const QString& projectFolder) : LocalSettings() {
    const QString path = QDir::cleanPath(QDir(projectFolder).absolutePath());
    beginGroup("projects");
    beginGroup(QString::fromLatin1(QUrl::toPercentEncoding(path)));
}

} // namespace inspection
