#include "workbench/inspectiondata/project/ProjectFile.h"

#include "detect/output/ParameterTable.h"
#include "detect/output/ParameterText.h"
#include "workbench/inspectiondata/project/Georeference.h"
#include "workbench/inspectiondata/project/Project.h"
#include "workbench/inspectiondata/project/RasterPlace.h"
#include "workbench/inspectiondata/project/ServerAddress.h"

#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSaveFile>

#include <algorithm>
#include <cmath>

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

bool isGiven(const QJsonValue& value) {
    return !value.isUndefined() && !value.isNull();
}

/// Takes values out of the file, and remembers the first that is not what it must be: what a project says and nobody
/// understands must not become something else in silence.
class JsonTaker {
public:
    const QString& firstWrong() const { return m_firstWrong; }

    void expect(bool holds, const QString& name) {
        if (!holds && m_firstWrong.isEmpty()) {
            m_firstWrong = name;
        }
    }
    /// A text of one line; `otherwise` where none is given.
    QString text(const QJsonObject& json, const QString& key, const QString& within = {},
                 const QString& otherwise = {}) {
        const QJsonValue value = json[key];
        if (!isGiven(value)) {
            return otherwise;
        }
        const QString text = value.toString();
        expect(value.isString() && std::none_of(text.begin(), text.end(), isControl), within + key);
        return text;
    }
    QJsonObject object(const QJsonObject& json, const QString& key) {
        expect(!isGiven(json[key]) || json[key].isObject(), key);
        return json[key].toObject();
    }
    QJsonArray array(const QJsonObject& json, const QString& key) {
        expect(!isGiven(json[key]) || json[key].isArray(), key);
        return json[key].toArray();
    }
    QColor colour(const QJsonObject& json, const QString& key, const QString& within,
                  const QColor& otherwise) {
        const QColor colour(json[key].toString());
        expect(!isGiven(json[key]) || colour.isValid(), within + key);
        return colour.isValid() ? colour : otherwise;
    }

private:
    static bool isControl(QChar letter) { return letter.category() == QChar::Other_Control; }

    QString m_firstWrong;
};

/// Projects have always called the method so.
QString keyOf(const detect::ParameterField& field) {
    const bool isMethod = std::holds_alternative<detect::MethodParameter>(field.kind);
    return isMethod ? QStringLiteral("coregistration") : QString::fromLatin1(field.name);
}

/// Takes a value that a field of detection can have; false for any other.
struct TakingJson {
    const QJsonValue& value;
    detect::Parameters& parameters;

    bool operator()(const detect::NumberParameter& number) const {
        const bool isGood = value.isDouble() && number.isWithin(value.toDouble());
        if (isGood) {
            number.set(parameters, value.toDouble());
        }
        return isGood;
    }
    bool operator()(const detect::SwitchParameter& choice) const {
        choice.of(parameters) = value.toBool(choice.value(parameters));
        return value.isBool();
    }
    bool operator()(const detect::MethodParameter& /*method*/) const {
        const auto method = detect::methodNamed(value.toString().toStdString());
        parameters.coregistration = method.value_or(parameters.coregistration);
        return method.has_value();
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

ProjectParameters parametersOf(const QJsonObject& json, JsonTaker& taker) {
    const QString within = QStringLiteral("parameters.");
    ProjectParameters parameters;
    // Of projects of before there was an automatic one, and a choice of it.
    parameters.coregistration = detect::CoregistrationMethod::Bias;
    for (const detect::ParameterField& field : detect::parameterFields()) {
        const QJsonValue value = json[keyOf(field)];
        taker.expect(!isGiven(value) || std::visit(TakingJson{value, parameters}, field.kind),
                     within + keyOf(field));
    }
    detect::completeSigmas(parameters);
    parameters.fillColour = taker.colour(json, QStringLiteral("fill_colour"), within, parameters.fillColour);
    parameters.cutColour = taker.colour(json, QStringLiteral("cut_colour"), within, parameters.cutColour);
    const QJsonValue mode = json["overlay_mode"];
    taker.expect(!isGiven(mode) || mode == 0 || mode == 1, within + QStringLiteral("overlay_mode"));
    parameters.overlayMode = mode.toInt() == 1 ? OverlayMode::Bounds : OverlayMode::Hover;
    return parameters;
}

Result<QByteArray> readBytes(const QString& file) {
    QFile source(file);
    if (!source.exists()) {
        return broken(file, "no such file, the folder is not a project", "文件不存在，该文件夹不是项目");
    }
    if (!source.open(QIODevice::ReadOnly)) {
        return broken(file, "cannot be read: " + source.errorString(), "无法读取");
    }
    return source.readAll();
}

Result<QJsonObject> jsonOf(const QByteArray& text, const QString& file) {
    QJsonParseError error{};
    const QJsonDocument document = QJsonDocument::fromJson(text, &error);
    if (!document.isObject()) {
        return broken(file, "not JSON: " + error.errorString(), "不是有效的 JSON 文件");
    }
    QJsonObject json = document.object();
    if (json.value(QLatin1String("format")).toString() != QLatin1String(kFormat)) {
        return broken(file, "not a corridor project", "不是巡检项目文件");
    }
    const double version = json.value(QLatin1String("version")).toDouble(0.0);
    if (version > Project::kVersion) {
        return broken(file,
                      QStringLiteral("project version %1 is newer than this program, which knows version %2")
                          .arg(version)
                          .arg(Project::kVersion),
                      "项目版本比本程序新，请升级程序");
    }
    if (version != std::floor(version) || version < 1.0) {
        return broken(file, "\"version\" is no version of a project", "version 不是项目的版本号");
    }
    return json;
}

Result<QJsonObject> readJson(const QString& file) {
    return readBytes(file).and_then([&file](const QByteArray& text) { return jsonOf(text, file); });
}

std::vector<Epoch> epochsOf(const QString& folder, const QJsonArray& array, JsonTaker& taker) {
    std::vector<Epoch> epochs;
    for (const auto& value : array) {
        const QString within = QStringLiteral("epochs[%1].").arg(epochs.size());
        const QJsonObject json = value.toObject();
        const auto text = [&](const char* key) { return taker.text(json, QString::fromLatin1(key), within); };
        const QString dsm = text("dsm");
        const QString dom = text("dom");
        taker.expect(!dsm.isEmpty() && !bearsPassword(dsm), within + QStringLiteral("dsm"));
        taker.expect(!bearsPassword(dom), within + QStringLiteral("dom"));
        epochs.push_back(
            {text("date"), absoluteRaster(folder, dsm), absoluteRaster(folder, dom), text("heights")});
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

/// A choice of other than two epochs is none.
std::optional<EpochPair> pairOf(const QJsonArray& array, JsonTaker& taker) {
    taker.expect(std::all_of(array.begin(), array.end(), [](const auto& key) { return key.isString(); }),
                 "compare");
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

std::vector<BaseLayer> baseLayersOf(const QString& folder, const QJsonArray& array, JsonTaker& taker) {
    std::vector<BaseLayer> layers;
    for (const auto& value : array) {
        const QJsonObject json = value.toObject();
        BaseLayer layer;
        const QString within = QStringLiteral("base_layers[%1].").arg(layers.size());
        layer.source = absoluteSource(folder, taker.text(json, QStringLiteral("source"), within));
        layer.name = taker.text(json, QStringLiteral("name"), within);
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
    const QString relative = isOnServer(path) ? path : QDir(folder).relativeFilePath(path);
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
    return readBytes(file).and_then([&](const QByteArray& text) { return projectOf(text, folder, file); });
}

Result<ProjectDescription> projectOf(const QByteArray& text, const QString& folder, const QString& file) {
    const auto read = jsonOf(text, file);
    if (!read) {
        return failed(read);
    }
    const auto& json = *read;
    ProjectDescription project;
    project.folder = QDir::cleanPath(QDir(folder).absolutePath());
    JsonTaker taker;
    project.name = taker.text(json, "name", {}, QDir(project.folder).dirName());
    project.crs = taker.text(json, "crs");
    project.epochs = epochsOf(project.folder, taker.array(json, "epochs"), taker);
    project.centerline = absolutePath(project.folder, taker.text(json, "centerline", {}, "centerline.gpkg"));
    project.database = absoluteDatabase(project.folder, taker.text(json, "database"));
    project.parameters = parametersOf(taker.object(json, "parameters"), taker);
    project.compared = pairOf(taker.array(json, "compare"), taker);
    project.baseLayers = baseLayersOf(project.folder, taker.array(json, "base_layers"), taker);
    if (const QString& wrong = taker.firstWrong(); !wrong.isEmpty()) {
        return broken(file, "\"" + wrong + "\" is missing or not what it can be", wrong + " 缺少或无效");
    }
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

QByteArray textOf(const ProjectDescription& project, const std::optional<DueRevision>& due,
                  const QJsonObject& earlier) {
    QJsonObject json = earlier;
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
    return QJsonDocument(json).toJson();
}

Status writeProjectFile(const ProjectDescription& project, const QString& name,
                        const std::optional<DueRevision>& due) {
    const auto earlier = readJson(projectFile(project.folder));
    QSaveFile file(name);
    const QByteArray text = textOf(project, due, earlier.value_or(QJsonObject()));
    // Without the flush a full disk would be noticed too late to keep the old file.
    if (!file.open(QIODevice::WriteOnly) || file.write(text) != text.size() || !file.flush() ||
        !file.commit()) {
        return broken(name, "cannot be written: " + file.errorString(), "无法写入");
    }
    return {};
}

} // namespace inspection
