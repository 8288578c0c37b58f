#pragma once

#include "host/Export.h"

#include <QSettings>
#include <QString>

namespace inspection {

/// The user's settings of the workbench on this machine.
class INSPECTIONDATA_API LocalSettings : public QSettings {
public:
    /// Those of all projects.
    LocalSettings();
    /// Those of the project in that folder, which are not the project's own: they neither travel nor are shared with it.
    explicit LocalSettings(const QString& projectFolder);
};

} // namespace inspection
