#include "workbench/inspectiondata/project/BaseLayer.h"

#include <QCryptographicHash>
#include <QDir>
#include <QFileInfo>
#include <QRegularExpression>
#include <QUrl>

#include <cpl_conv.h>
#include <cpl_minixml.h>

#include <cmath>
#include <initializer_list>
#include <memory>
#include <optional>
#include <tuple>

namespace inspection {

namespace {

constexpr auto kWmts = "WMTS:";
constexpr auto kEmptyTileCodes = "204,404"; // where a server has no tile
constexpr int kTilePixels = 256;

/// An address taken apart; all parts as they stand in it.
struct Address {
    QString scheme; ///< "https://"
    QString user;
    QString password;
    QString rest; ///< host, port, path and query
};

std::optional<Address> addressOf(const QString& text) {
    static const QRegularExpression form(
        QStringLiteral(R"(^(https?://)(?:([^/@:?]*)(?::([^/@?]*))?@)?([^/@?\s{}]+(?:[/?]\S*)?)$)"),
        QRegularExpression::CaseInsensitiveOption);
    const QRegularExpressionMatch parts = form.match(text);
    if (!parts.hasMatch()) {
        return std::nullopt;
    }
    return Address{parts.captured(1), parts.captured(2), parts.captured(3), parts.captured(4)};
}

QString decoded(const QString& part) {
    return QUrl::fromPercentEncoding(part.toUtf8());
}

/// "WMTS:ADDRESS,layer=NAME,style=…" taken apart.
struct Wmts {
    QString address;
    QString layer;
    QString style;
    QString matrixSet;
};

Wmts wmtsOf(const QString& source) {
    static const QRegularExpression option(QStringLiteral(",(layer|style|tilematrixset)=([^,]*)"),
                                           QRegularExpression::CaseInsensitiveOption);
    Wmts wmts;
    QString rest = source.mid(QString(kWmts).size());
    for (auto match = option.globalMatch(rest); match.hasNext();) {
        const QRegularExpressionMatch found = match.next();
        const QString key = found.captured(1).toLower();
        QString& value = key == QLatin1String("layer")   ? wmts.layer
                         : key == QLatin1String("style") ? wmts.style
                                                         : wmts.matrixSet;
        value = found.captured(2);
    }
    wmts.address = rest.remove(option);
    return wmts;
}

/// An XML description that is being written.
class Description {
public:
    explicit Description(const char* root) : m_root(CPLCreateXMLNode(nullptr, CXT_Element, root)) {}
    void set(const char* path, const QString& value) {
        CPLSetXMLValue(m_root.get(), path, value.toUtf8().constData());
    }
    void setIfGiven(const char* path, const QString& value) {
        if (!value.isEmpty()) {
            set(path, value);
        }
    }
    QString text() const {
        char* xml = CPLSerializeXMLTree(m_root.get());
        const QString result = QString::fromUtf8(xml);
        CPLFree(xml);
        return result;
    }

private:
    struct Destroy {
        void operator()(CPLXMLNode* node) const { CPLDestroyXMLNode(node); }
    };
    std::unique_ptr<CPLXMLNode, Destroy> m_root;
};

/// Patience, cache and manners towards a server.
void setServer(Description& xml, const Address& address, const QString& source, const QString& cacheFolder) {
    constexpr auto kTimeoutSeconds = "10";
    constexpr auto kCacheBytes = "536870912";
    constexpr auto kCacheSeconds = "2592000";
    const QByteArray name =
        QCryptographicHash::hash(source.toUtf8(), QCryptographicHash::Sha1).toHex().left(16);
    xml.set("Timeout", kTimeoutSeconds);
    xml.set("UserAgent", QStringLiteral("Corridor"));
    if (!address.user.isEmpty()) { // not in the address, which GDAL's messages repeat
        xml.set("UserPwd", decoded(address.user) + ':' + decoded(address.password));
    }
    xml.set("Cache.Path", QDir(cacheFolder).absoluteFilePath(QString::fromLatin1(name)));
    xml.set("Cache.Unique", QStringLiteral("false"));
    xml.set("Cache.MaxSize", kCacheBytes);
    xml.set("Cache.Expires", kCacheSeconds);
}

/// Tiles in Web Mercator, as all the world has them since 2005. `address` holds ${z}, ${x} and ${y}.
Description mercatorTiles(const QString& address, int finestLevel, bool fromTheSouth) {
    // Half the equator of the WGS 84 ellipsoid.
    const QString edge = QString::number(M_PI * 6378137.0, 'f', 6);
    Description xml("GDAL_WMS");
    xml.set("Service.#name", QStringLiteral("TMS"));
    xml.set("Service.ServerUrl", address);
    xml.set("DataWindow.UpperLeftX", '-' + edge);
    xml.set("DataWindow.UpperLeftY", edge);
    xml.set("DataWindow.LowerRightX", edge);
    xml.set("DataWindow.LowerRightY", '-' + edge);
    xml.set("DataWindow.TileLevel", QString::number(finestLevel));
    xml.set("DataWindow.TileCountX", QStringLiteral("1"));
    xml.set("DataWindow.TileCountY", QStringLiteral("1"));
    xml.set("DataWindow.YOrigin", fromTheSouth ? QStringLiteral("bottom") : QStringLiteral("top"));
    xml.set("Projection", QStringLiteral("EPSG:3857"));
    xml.set("BlockSizeX", QString::number(kTilePixels));
    xml.set("BlockSizeY", QString::number(kTilePixels));
    xml.set("BandsCount", QStringLiteral("4"));     // clear where there is no tile
    xml.set("ZeroBlockHttpCodes", kEmptyTileCodes); // of files, too
    xml.set("MaxConnections", QStringLiteral("4"));
    return xml;
}

bool hasPlaces(const QString& address) {
    return address.contains("{z}") && address.contains("{x}") &&
           (address.contains("{y}") || address.contains("{-y}"));
}

QString inGdalsWords(QString address) {
    return address.replace("{z}", "${z}")
        .replace("{x}", "${x}")
        .replace("{y}", "${y}")
        .replace("{-y}", "${y}");
}

Unexpected badAddress(const QString& source, const QString& cause, const QString& userCause) {
    return fileFailure(shownSource(source), cause, userCause);
}

Result<QString> servedTiles(const BaseLayer& layer, const QString& cacheFolder) {
    // Of several servers with the same tiles, the first.
    const auto address = addressOf(QString(layer.source).replace("{s}", "a"));
    if (!address) {
        return badAddress(layer.source, "not an address", "不是有效的地址");
    }
    if (!hasPlaces(layer.source)) {
        return badAddress(layer.source, "{z}, {x} and {y} (or {-y}) must stand in it",
                          "地址中要有 {z}、{x} 和 {y}（或 {-y}）");
    }
    Description xml = mercatorTiles(inGdalsWords(address->scheme + address->rest), layer.finestLevel,
                                    layer.source.contains("{-y}"));
    setServer(xml, *address, layer.source, cacheFolder);
    return xml.text();
}

Result<QString> servedMatrix(const BaseLayer& layer, const QString& cacheFolder) {
    const Wmts wmts = wmtsOf(layer.source);
    const auto address = addressOf(wmts.address);
    if (!address) {
        return badAddress(layer.source, "not an address", "不是有效的地址");
    }
    Description xml("GDAL_WMTS");
    xml.set("GetCapabilitiesUrl", address->scheme + address->rest);
    xml.setIfGiven("Layer", wmts.layer);
    xml.setIfGiven("Style", wmts.style);
    xml.setIfGiven("TileMatrixSet", wmts.matrixSet);
    xml.set("BandsCount", QStringLiteral("4"));
    xml.set("ZeroBlockHttpCodes", kEmptyTileCodes);
    setServer(xml, *address, layer.source, cacheFolder);
    return xml.text();
}

/// Names of sub-folders that are numbers.
QStringList numberedFolders(const QString& folder) {
    static const QRegularExpression number(QStringLiteral(R"(^\d+$)"));
    return QDir(folder).entryList(QDir::Dirs | QDir::NoDotAndDotDot).filter(number);
}

/// Suffix of the first tile in a folder of tiles; empty when it is none.
QString tileSuffix(const QString& folder) {
    for (const QString& level : numberedFolders(folder)) {
        const QString below = folder + '/' + level;
        for (const QString& column : numberedFolders(below)) {
            const QStringList tiles =
                QDir(below + '/' + column).entryList({"*.png", "*.jpg", "*.jpeg", "*.webp"}, QDir::Files);
            if (!tiles.isEmpty()) {
                return QFileInfo(tiles.first()).suffix();
            }
        }
    }
    return {};
}

int finestOf(const QString& folder) {
    int finest = 0;
    for (const QString& level : numberedFolders(folder)) {
        finest = std::max(finest, std::min(level.toInt(), BaseLayer::kFinestLevel));
    }
    return finest;
}

QString pathOf(const QString& source) {
    return source.startsWith(QLatin1String("file://")) ? QUrl(source).toLocalFile() : source;
}

Result<QString> localTiles(const QString& folder, const QString& names, bool fromTheSouth) {
    return mercatorTiles(QString::fromUtf8(QUrl::fromLocalFile(folder).toEncoded()) + inGdalsWords(names),
                         finestOf(folder), fromTheSouth)
        .text();
}

Result<QString> localDefinition(const QString& path) {
    const int places = static_cast<int>(path.indexOf("/{z}"));
    if (places >= 0) {
        return localTiles(path.left(places), path.mid(places), path.contains("{-y}"));
    }
    const QString suffix = QFileInfo(path).isDir() ? tileSuffix(path) : QString();
    if (suffix.isEmpty()) {
        return path;
    }
    // Programs that count from the south leave this description beside their tiles.
    const bool fromTheSouth = QFileInfo::exists(path + "/tilemapresource.xml");
    return localTiles(path, "/{z}/{x}/{y}." + suffix, fromTheSouth);
}

} // namespace

bool BaseLayer::operator==(const BaseLayer& other) const {
    const auto members = [](const BaseLayer& l) {
        return std::tie(l.name, l.source, l.visible, l.opacity, l.finestLevel);
    };
    return members(*this) == members(other);
}

bool isServed(const QString& source) {
    static const QRegularExpression scheme(QStringLiteral("^(https?:|wmts:)"),
                                           QRegularExpression::CaseInsensitiveOption);
    return source.contains(scheme);
}

QString localPath(const QString& source) {
    return isServed(source) ? QString() : pathOf(source).section(QStringLiteral("/{z}"), 0, 0);
}

QString shownSource(const QString& source) {
    static const QRegularExpression password(QStringLiteral("://([^/@:?]*):[^/@?]*@"));
    static const QRegularExpression key(
        QStringLiteral(
            R"(([?&](?:tk|ak|key|apikey|api_key|token|access_token|password|pwd|secret|sig|signature)=)[^&,]*)"),
        QRegularExpression::CaseInsensitiveOption);
    QString shown = source;
    return isServed(source) ? shown.replace(password, "://\\1@").replace(key, "\\1…") : source;
}

Result<QString> gdalDefinition(const BaseLayer& layer, const QString& cacheFolder) {
    if (layer.source.startsWith(QLatin1String(kWmts), Qt::CaseInsensitive)) {
        return servedMatrix(layer, cacheFolder);
    }
    return isServed(layer.source) ? servedTiles(layer, cacheFolder) : localDefinition(pathOf(layer.source));
}

QString baseLayerTrouble(const QString& gdalMessage) {
    static const QRegularExpression status(QStringLiteral("HTTP (?:status|error) code ?: ([1-9]\\d*)"));
    const QRegularExpressionMatch answer = status.match(gdalMessage);
    if (answer.hasMatch()) {
        return QStringLiteral("服务器返回 HTTP %1").arg(answer.captured(1));
    }
    const std::initializer_list<std::pair<const char*, const char*>> kWords = {
        {"timed out|timeout", "服务器没有应答"},
        {"resolve host", "找不到服务器"},
        {"connect to|connection|empty reply", "无法连接服务器"},
        {"certificate|SSL", "服务器的证书无效"},
        {"no tiles", "服务器上没有这里的图块"},
        {"ReadBlockFromFile|downloaded block", "收到的不是图块"},
        {"/vsi(curl|s3|gs|az|adls|oss)\\S* does not exist", "服务器没有给出该文件"},
        {"no such file|does not exist", "文件不存在"},
        {"georeference|reference system", "没有坐标系"}};
    for (const auto& [pattern, words] : kWords) {
        if (gdalMessage.contains(QRegularExpression(pattern, QRegularExpression::CaseInsensitiveOption))) {
            return QString::fromUtf8(words);
        }
    }
    return QStringLiteral("不是可以识别的栅格或服务");
}

} // namespace inspection
