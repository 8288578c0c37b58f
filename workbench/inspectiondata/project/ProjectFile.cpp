#include "workbench/inspectiondata/project/ProjectFile.h"

#include "detect/output/ParameterTable.h"
#include "detect/output/ParameterText.h"
#include "workbench/inspectiondata/project/Georeference.h"
#include "workbench/inspectiondata/project/Project.h"
#include "workbench/inspectiondata/project/ServerAddress.h"

#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSaveFile>

namespace inspection {

namespace {

constexpr auto kFormat = "corridor-project";
constexpr auto kDue = "counts_from"; // see PendingProjectFile.h

Unexpected broken(const QString& file, const QString& cause, const QString& userCause) {
    return fileFailure(file, cause, userCause);
}

QString absolutePath(const QString& folder, const QString& path) {
    return path.isEmpty() ? QString() : QDir::cleanPath(QDir(folder).absoluteFilePath(path));
}

QColor colourOf(const QJsonValue& value, const QColor& otherwise) {
    const QColor colour(value.toString());
    return colour.isValid() ? colour : otherwise;
}

/// Projects have always called the method so.
QString keyOf(const detect::ParameterField& field) {
    const bool isMethod = std::holds_alternative<detect::MethodParameter>(field.kind);
    return isMethod ? QStringLiteral("coregistration") : QString::fromLatin1(field.name);
}

/// Takes a value that a field of detection can have; any other leaves it as it is.
struct TakingJson {
    const QJsonValue& value;
    detect::Parameters& parameters;

    void operator()(const detect::NumberParameter& number) const {
        if (value.isDouble() && number.isWithin(value.toDouble())) {
            number.set(parameters, value.toDouble());
        }
    }
    void operator()(const detect::SwitchParameter& choice) const {
        choice.of(parameters) = value.toBool(choice.value(parameters));
    }
    void operator()(const detect::MethodParameter& /*method*/) const {
        parameters.coregistration =
            detect::methodNamed(value.toString().toStdString()).value_or(parameters.coregistration);
    }
};

/// A field's value as project.json has it; undefined for a number that is not given.
struct JsonOf {
    const detect::Parameters& parameters;

    QJsonValue operator()(const detect::NumberParameter& number) const {
        const auto value = number.value(parameters);
        return value ? QJsonValue(*value) : QJsonValue(QJsonValue::Undefined);
    }
    QJsonValue operator()(const detect::SwitchParameter& choice) const { return choice.value(parameters); }
    QJsonValue operator()(const detect::MethodParameter& /*method*/) const {
        return coregistrationName(parameters.coregistration);
    }
};

ProjectParameters parametersOf(const QJsonObject& json) {
    ProjectParameters parameters;
    // Of projects of before there was an automatic one, and a choice of it.
    parameters.coregistration = detect::CoregistrationMethod::Bias;
    for (const detect::ParameterField& field : detect::parameterFields()) {
        std::visit(TakingJson{json[keyOf(field)], parameters}, field.kind);
    }
    detect::completeSigmas(parameters);
    parameters.fillColour = colourOf(json["fill_colour"], parameters.fillColour);
    parameters.cutColour = colourOf(json["cut_colour"], parameters.cutColour);
    parameters.overlayMode = json["overlay_mode"].toInt() == 1 ? OverlayMode::Bounds : OverlayMode::Hover;
    return parameters;
}

Result<QJsonObject> readJson(const QString& file) {
    QFile source(file);
    if (!source.exists()) {
        return broken(file, "no such file, the folder is not a project", "文件不存在，该文件夹不是项目");
    }
    if (!source.open(QIODevice::ReadOnly)) {
        return broken(file, "cannot be read: " + source.errorString(), "无法读取");
    }
    QJsonParseError error{};
    const QJsonDocument document = QJsonDocument::fromJson(source.readAll(), &error);
    if (!document.isObject()) {
        return broken(file, "not JSON: " + error.errorString(), "不是有效的 JSON 文件");
    }
    const QJsonObject json = document.object();
    if (json["format"].toString() != QLatin1String(kFormat)) {
        return broken(file, "not a corridor project", "不是巡检项目文件");
    }
    if (json["version"].toInt() > Project::kVersion) {
        return broken(file,
                      QStringLiteral("project version %1 is newer than this program, which knows version %2")
                          .arg(json["version"].toInt())
                          .arg(Project::kVersion),
                      "项目版本比本程序新，请升级程序");
    }
    return document.object();
}

std::vector<Epoch> epochsOf(const QString& folder, const QJsonArray& array) {
    std::vector<Epoch> epochs;
    for (const auto& value : array) {
        const QJsonObject json = value.toObject();
        if (!json["dsm"].toString().isEmpty()) {
            epochs.push_back({json["date"].toString(), absolutePath(folder, json["dsm"].toString()),
                              absolutePath(folder, json["dom"].toString()), json["heights"].toString()});
        }
    }
    return epochs;
}

QJsonArray jsonOf(const QString& folder, const std::vector<Epoch>& epochs) {
    QJsonArray array;
    for (const Epoch& epoch : epochs) {
        QJsonObject json{{"date", epoch.date}, {"dsm", storedPath(folder, epoch.dsm)}};
        if (!epoch.dom.isEmpty()) {
            json["dom"] = storedPath(folder, epoch.dom);
        }
        if (!epoch.heights.isEmpty()) {
            json["heights"] = epoch.heights;
        }
        array.append(json);
    }
    return array;
}

std::optional<EpochPair> pairOf(const QJsonArray& array) {
    return array.size() == 2 ? std::optional(EpochPair{array[0].toString(), array[1].toString()})
                             : std::nullopt;
}

void setCompared(QJsonObject& json, const ProjectDescription& project) {
    if (project.compared) {
        json["compare"] = QJsonArray{project.compared->older, project.compared->newer};
    } else {
        json.remove(QStringLiteral("compare"));
    }
}

void setDue(QJsonObject& json, const std::optional<DueRevision>& due) {
    if (due) {
        json[kDue] = QJsonObject{{"revision", qint64{due->revision}}, {"inspector", due->inspector}};
    } else {
        json.remove(QLatin1String(kDue));
    }
}

void setDatabase(QJsonObject& json, const ProjectDescription& project) {
    const QString& database = project.database;
    if (database.isEmpty()) {
        json.remove(QStringLiteral("database"));
    } else {
        json["database"] = isServerAddress(database) ? database : storedPath(project.folder, database);
    }
}

// A place for the tiles' numbers may stand in a path.
QString absoluteSource(const QString& folder, const QString& source) {
    return isServed(source) || source.startsWith(QLatin1String("file://")) ? source
                                                                           : absolutePath(folder, source);
}

std::vector<BaseLayer> baseLayersOf(const QString& folder, const QJsonArray& array) {
    std::vector<BaseLayer> layers;
    for (const auto& value : array) {
        const QJsonObject json = value.toObject();
        BaseLayer layer;
        layer.source = absoluteSource(folder, json["source"].toString());
        layer.name = json["name"].toString();
        layer.visible = json["visible"].toBool(layer.visible);
        layer.opacity = qBound(0.0, json["opacity"].toDouble(layer.opacity), 1.0);
        layer.finestLevel = qBound(1, json["max_level"].toInt(layer.finestLevel), BaseLayer::kFinestLevel);
        if (!layer.source.isEmpty()) {
            layers.push_back(layer);
        }
    }
    return layers;
}

QJsonObject jsonOf(const QString& folder, const BaseLayer& layer) {
    const bool isPath = QDir::isAbsolutePath(layer.source);
    QJsonObject json{{"name", layer.name},
                     {"source", isPath ? storedPath(folder, layer.source) : layer.source},
                     {"visible", layer.visible},
                     {"opacity", layer.opacity}};
    if (layer.finestLevel != BaseLayer::kUsualFinestLevel) {
        json["max_level"] = layer.finestLevel;
    }
    return json;
}

void setBaseLayers(QJsonObject& json, const ProjectDescription& project) {
    QJsonArray array;
    for (const BaseLayer& layer : project.baseLayers) {
        array.append(jsonOf(project.folder, layer));
    }
    if (array.isEmpty()) {
        json.remove(QStringLiteral("base_layers"));
    } else {
        json["base_layers"] = array;
    }
}

} // namespace

QJsonObject parametersAsStored(const ProjectParameters& parameters) {
    QJsonObject json{{"fill_colour", parameters.fillColour.name()},
                     {"cut_colour", parameters.cutColour.name()},
                     {"overlay_mode", static_cast<int>(parameters.overlayMode)}};
    for (const detect::ParameterField& field : detect::parameterFields()) {
        const QJsonValue value = std::visit(JsonOf{parameters}, field.kind);
        if (!value.isUndefined()) {
            json[keyOf(field)] = value;
        }
    }
    return json;
}

QString storedPath(const QString& folder, const QString& path) {
    const QString relative = QDir(folder).relativeFilePath(path);
    return path.isEmpty() || relative.startsWith(QLatin1String("..")) ? path : relative;
}

QString absoluteDatabase(const QString& folder, const QString& database) {
    const QString url = isServerAddress(database) ? database : absolutePath(folder, database);
    return url == absolutePath(folder, QStringLiteral("inspection.db")) ? QString() : url;
}

QString projectFile(const QString& folder) {
    return QDir(folder).absoluteFilePath(QStringLiteral("project.json"));
}

Result<ProjectDescription> readProjectFile(const QString& folder) {
    return readProjectFile(folder, projectFile(folder));
}

Result<ProjectDescription> readProjectFile(const QString& folder, const QString& file) {
    const auto read = readJson(file);
    if (!read) {
        return failed(read);
    }
    const auto& json = *read;
    ProjectDescription project;
    project.folder = QDir::cleanPath(QDir(folder).absolutePath());
    project.name = json["name"].toString(QDir(project.folder).dirName());
    project.crs = json["crs"].toString();
    project.epochs = epochsOf(project.folder, json["epochs"].toArray());
    project.centerline = absolutePath(project.folder, json["centerline"].toString("centerline.gpkg"));
    project.database = absoluteDatabase(project.folder, json["database"].toString());
    project.parameters = parametersOf(json["parameters"].toObject());
    project.compared = pairOf(json["compare"].toArray());
    project.baseLayers = baseLayersOf(project.folder, json["base_layers"].toArray());
    if (project.epochs.size() < 2) {
        return broken(file, "needs two epochs with a dsm each", "需要两期表面模型");
    }
    const auto reference = referenceOf(project.crs);
    if (!reference || reference->IsProjected() == 0) {
        return broken(file, "\"crs\" is not a projected reference system: \"" + project.crs + '"',
                      "坐标系无效或不是投影坐标系");
    }
    return project;
}

Status writeProjectFile(const ProjectDescription& project) {
    return writeProjectFile(project, projectFile(project.folder), std::nullopt);
}

Result<std::optional<DueRevision>> readDueRevision(const QString& file) {
    const auto json = readJson(file);
    if (!json) {
        return failed(json);
    }
    if (!json->contains(kDue)) {
        return std::nullopt;
    }
    const QJsonObject due = (*json)[kDue].toObject();
    return DueRevision{due["revision"].toInteger(), due["inspector"].toString()};
}

Status writeProjectFile(const ProjectDescription& project, const QString& name,
                        const std::optional<DueRevision>& due) {
    const auto earlier = readJson(projectFile(project.folder));
    QJsonObject json = earlier.value_or(QJsonObject());
    json["format"] = kFormat;
    json["version"] = Project::kVersion;
    json["name"] = project.name;
    json["crs"] = project.crs;
    json["epochs"] = jsonOf(project.folder, project.epochs);
    json["centerline"] = storedPath(project.folder, project.centerline);
    setDatabase(json, project);
    json["parameters"] = parametersAsStored(project.parameters);
    setCompared(json, project);
    setBaseLayers(json, project);
    setDue(json, due);

    QSaveFile file(name);
    const QByteArray text = QJsonDocument(json).toJson();
    // Without the flush a full disk would be noticed too late to keep the old file.
    if (!file.open(QIODevice::WriteOnly) || file.write(text) != text.size() || !file.flush() ||
        !file.commit()) {
        return broken(name, "cannot be written: " + file.errorString(), "无法写入");
    }
    return {};
}

} // namespace inspection
