#include "workbench/inspectiondata/database/Inspector.h"

#include "workbench/inspectiondata/project/ServerAddress.h"

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

QString shownInspector(const QString& inspector) {
    return inspector.section(':', 0, 0);
}

} // namespace inspection
