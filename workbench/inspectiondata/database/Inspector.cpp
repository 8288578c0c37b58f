#include "workbench/inspectiondata/database/Inspector.h"

#include "workbench/inspectiondata/project/ServerAddress.h"

#include <QDir>
#include <QObject>
#include <QSysInfo>

namespace inspection {

QString inspectorOf(const ProjectDescription& project) {
    if (!isServerAddress(project.databaseUrl())) {
        return QLatin1String("");
    }
    const QString user =
        qEnvironmentVariable("USER", qEnvironmentVariable("LOGNAME", QStringLiteral("user")));
    return user + '@' + QSysInfo::machineHostName() + ':' + project.folder;
}

QString shownInspector(const QString& inspector, const QString& own) {
    const QString person = inspector.section(':', 0, 0);
    const QString folder = inspector.section(':', 1);
    return own.isEmpty() || own.section(':', 0, 0) != person || folder.isEmpty()
               ? person
               : QObject::tr("%1（%2）").arg(person, QDir::toNativeSeparators(folder));
}

} // namespace inspection
