#include "workbench/inspectiondata/project/ProjectDescription.h"

#include "workbench/inspectiondata/project/ServerAddress.h"

#include <tuple>

namespace inspection {

detect::Parameters ProjectParameters::detection() const {
    detect::Parameters parameters;
    parameters.thresholdMetres = thresholdMetres;
    parameters.minAreaSquareMetres = minAreaSquareMetres;
    parameters.coregistration = coregistration;
    return parameters;
}

bool ProjectParameters::operator==(const ProjectParameters& other) const {
    const auto members = [](const ProjectParameters& p) {
        return std::tie(p.thresholdMetres, p.minAreaSquareMetres, p.coregistration, p.fillColour, p.cutColour,
                        p.overlayMode);
    };
    return members(*this) == members(other);
}

QString ProjectDescription::databaseUrl() const {
    return database.isEmpty() ? folder + QStringLiteral("/inspection.db") : database;
}

QString ProjectDescription::databaseFile() const {
    return isServerAddress(databaseUrl()) ? QString() : databaseUrl();
}

QString ProjectDescription::outputFolder() const {
    return folder + QStringLiteral("/output");
}

QString ProjectDescription::stationFolder(std::uint32_t stationId) const {
    return QStringLiteral("%1/stations/%2").arg(outputFolder()).arg(stationId);
}

QString coregistrationName(detect::CoregistrationMethod method) {
    switch (method) {
    case detect::CoregistrationMethod::Bias:
        return QStringLiteral("bias");
    case detect::CoregistrationMethod::Full:
        return QStringLiteral("full");
    case detect::CoregistrationMethod::Local:
        return QStringLiteral("local");
    case detect::CoregistrationMethod::Auto:
        return QStringLiteral("auto");
    case detect::CoregistrationMethod::None:
        break;
    }
    return QStringLiteral("none");
}

QString coregistrationTitle(detect::CoregistrationMethod method) {
    switch (method) {
    case detect::CoregistrationMethod::Bias:
        return QStringLiteral("高程偏差改正");
    case detect::CoregistrationMethod::Full:
        return QStringLiteral("平面与高程配准");
    case detect::CoregistrationMethod::Local:
        return QStringLiteral("局部配准");
    case detect::CoregistrationMethod::Auto:
        return QStringLiteral("自动配准");
    case detect::CoregistrationMethod::None:
        break;
    }
    return QStringLiteral("不配准");
}

} // namespace inspection
