#include "workbench/inspectiondata/project/TrustedPlaces.h"

#include "detect/TouchedFiles.h"
#include "workbench/inspectiondata/project/LocalSettings.h"
#include "workbench/inspectiondata/project/PendingProjectFile.h"
#include "workbench/inspectiondata/project/ProjectFile.h"
#include "workbench/inspectiondata/project/ReferredFiles.h"
#include "workbench/inspectiondata/project/ServerAddress.h"

#include <QFile>
#include <QFileInfo>
#include <QRegularExpression>
#include <QSet>

#include <filesystem>
#include <functional>
#include <map>

namespace inspection {

namespace fs = std::filesystem;

namespace {

constexpr auto kKey = "trusted";

/// The one name of a file, whichever it is called by and whether it is there or not.
QString trueName(const QString& file) {
    std::error_code error;
    const fs::path behind = detect::behindLinks(fs::u8path(file.toStdString()));
    const fs::path name = fs::weakly_canonical(behind, error);
    return QString::fromStdString((error ? behind.lexically_normal() : name).u8string());
}

QSet<QString> trustedKeys(const QString& folder) {
    const QStringList keys = LocalSettings(trueName(folder)).value(kKey).toStringList();
    return {keys.begin(), keys.end()};
}

/// What a project names by itself.
struct Named {
    QStringList rasters;
    QStringList vectors;
    QStringList databases;
    QStringList layers;
};

Named namedBy(const ProjectDescription& project) {
    Named named;
    for (const Epoch& epoch : project.epochs) {
        named.rasters << epoch.dsm << epoch.dom;
    }
    named.vectors << project.centerline << project.folder + QStringLiteral("/special.gpkg");
    named.databases << project.databaseUrl();
    for (const BaseLayer& layer : project.baseLayers) {
        named.layers << layer.source;
    }
    return named;
}

QStringList without(QStringList all, const QStringList& some) {
    all.removeIf([&some](const QString& one) { return some.contains(one); });
    return all;
}

/// "https://tiles.example.org:8080" of an address with a path, in capitals or not.
QString hostOf(const QString& address) {
    static const QRegularExpression form(QStringLiteral("(https?://)(?:[^/?#]*@)?([^/?#,]*)"),
                                         QRegularExpression::CaseInsensitiveOption);
    const QRegularExpressionMatch parts = form.match(address);
    return (parts.captured(1) + parts.captured(2)).toLower();
}

QString hostOf(const ServerAddress& address) {
    ServerAddress host;
    host.host = address.host;
    host.port = address.port;
    host.socket = address.socket;
    return host.shown();
}

class PlaceFinder {
public:
    PlaceFinder(const QString& folder, QSet<QString> trusted)
        : m_folder(trueName(folder)), m_trusted(std::move(trusted)) {
        GDALAllRegister();
    }

    void lookAt(const Named& named) {
        for (const QString& file : named.rasters) {
            lookAtFile(file, OpenedAs::Raster);
        }
        for (const QString& file : named.vectors) {
            lookAtFile(file, OpenedAs::Vector);
        }
        for (const QString& database : named.databases) {
            lookAtDatabase(database);
        }
        for (const QString& source : named.layers) {
            lookAtLayer(source);
        }
    }
    void lookAtLinks() {
        std::error_code error;
        fs::recursive_directory_iterator entry(fs::u8path(m_folder.toStdString()),
                                               fs::directory_options::skip_permission_denied, error);
        for (; !error && entry != fs::recursive_directory_iterator(); entry.increment(error)) {
            if (entry->is_symlink(error)) {
                lookAtLink(QString::fromStdString(entry->path().u8string()));
            }
        }
    }
    const ForeignPlaces& untrusted() const { return m_untrusted; }

private:
    bool isWithin(const QString& name) const { return name == m_folder || name.startsWith(m_folder + '/'); }
    static QString folderOf(const QString& name) {
        return QFileInfo(name).isDir() ? name : QFileInfo(name).absolutePath();
    }

    void lookAtFile(const QString& file, OpenedAs kind) {
        if (file.isEmpty()) {
            return;
        }
        if (isNoPath(file)) {
            add(ForeignPlace::Use::Unclear, file);
            return;
        }
        const QString name = trueName(file);
        QSet<QString>& seen = m_seen[kind];
        if (seen.contains(name)) {
            return;
        }
        seen.insert(name);
        if (isWithin(name) || (add(ForeignPlace::Use::Read, folderOf(name)) && isMarkup(name))) {
            follow(name, kind);
        }
    }
    void follow(const QString& name, OpenedAs kind) {
        const Referred referred = referredBy(name, kind);
        for (const QString& file : referred.files) {
            lookAtFile(file, OpenedAs::Raster);
        }
        for (const QString& unclear : referred.unclear) {
            add(ForeignPlace::Use::Unclear, unclear);
        }
    }
    /// Formats that name other files are texts; the many tiles of a survey need not be opened.
    static bool isMarkup(const QString& name) {
        QFile file(name);
        return QFileInfo(name).isFile() && file.open(QIODevice::ReadOnly) &&
               file.read(64).trimmed().startsWith('<');
    }

    void lookAtDatabase(const QString& url) {
        if (!isServerAddress(url)) {
            const QString name = trueName(url);
            if (!isWithin(name)) {
                add(ForeignPlace::Use::Store, name);
            }
        } else if (const auto address = serverAddress(url)) {
            add(ForeignPlace::Use::Server, hostOf(*address));
        }
    }
    void lookAtLayer(const QString& source) {
        const QString path = localPath(source);
        if (isServed(source)) {
            add(ForeignPlace::Use::Server, hostOf(source));
        } else if (source.contains(QStringLiteral("/.."))) { // behind a place for a tile's number
            add(ForeignPlace::Use::Unclear, source);
        } else {
            lookAtFile(path, OpenedAs::Raster);
        }
    }
    void lookAtLink(const QString& link) {
        const QString name = trueName(link);
        if (!isWithin(name)) {
            add(ForeignPlace::Use::Link, folderOf(name));
        }
    }
    /// Whether the place is trusted.
    bool add(ForeignPlace::Use use, const QString& where) {
        const ForeignPlace place{use, where};
        const bool isTrusted = m_trusted.contains(place.key()) ||
                               (use == ForeignPlace::Use::Read &&
                                m_trusted.contains(ForeignPlace{ForeignPlace::Use::Link, where}.key()));
        if (!isTrusted && !m_found.contains(place.key())) {
            m_found.insert(place.key());
            m_untrusted.push_back(place);
        }
        return isTrusted;
    }

    QString m_folder;
    QSet<QString> m_trusted;
    std::map<OpenedAs, QSet<QString>> m_seen;
    QSet<QString> m_found;
    ForeignPlaces m_untrusted;
};

/// Agrees until nothing new comes up; tells all that was new.
Result<ForeignPlaces> agreeToAll(const QString& folder, const std::function<ForeignPlaces()>& find) {
    ForeignPlaces all;
    for (ForeignPlaces found = find(); !found.empty(); found = find()) {
        if (auto done = trustPlaces(folder, found); !done) {
            return failed(done);
        }
        all.insert(all.end(), found.begin(), found.end());
    }
    return all;
}

} // namespace

// The links come first: even project.json may be one.
ForeignPlaces untrustedPlaces(const QString& folder) {
    PlaceFinder finder(folder, trustedKeys(folder));
    finder.lookAtLinks();
    if (!finder.untrusted().empty()) {
        return finder.untrusted();
    }
    for (const QString& file : {projectFile(folder), pendingProjectFile(folder)}) {
        if (const auto project = readProjectFile(folder, file)) {
            finder.lookAt(namedBy(*project));
        }
    }
    return finder.untrusted();
}

Status trustPlaces(const QString& folder, const ForeignPlaces& places) {
    QSet<QString> keys = trustedKeys(folder);
    for (const ForeignPlace& place : places) {
        keys.insert(place.key());
    }
    QStringList sorted = keys.values();
    sorted.sort();
    LocalSettings kept(trueName(folder));
    kept.setValue(kKey, sorted);
    kept.sync();
    if (kept.status() != QSettings::NoError) {
        return fileFailure(kept.fileName(), "cannot be written", "无法写入");
    }
    return {};
}

Result<ForeignPlaces> trustProject(const QString& folder) {
    return agreeToAll(folder, [&folder] { return untrustedPlaces(folder); });
}

void trustNewlyNamed(const ProjectDescription& before, const ProjectDescription& now) {
    const Named earlier = namedBy(before);
    Named named = namedBy(now);
    named = {without(named.rasters, earlier.rasters), without(named.vectors, earlier.vectors),
             without(named.databases, earlier.databases), without(named.layers, earlier.layers)};
    // Where that cannot be stored the next opening asks.
    (void)agreeToAll(now.folder, [&] {
        PlaceFinder finder(now.folder, trustedKeys(now.folder));
        finder.lookAt(named);
        return finder.untrusted();
    });
}

Status needTrust(const QString& folder) {
    const ForeignPlaces places = untrustedPlaces(folder);
    if (places.empty()) {
        return {};
    }
    return fileFailure(
        folder,
        QStringLiteral(
            "the project leads to %1 places outside of its folder that nobody has agreed to, the first is %2")
            .arg(places.size())
            .arg(places.front().where),
        QStringLiteral("项目要使用文件夹以外的 %1 处（%2），尚未信任；核实来源后在窗口中打开并信任，或运行 "
                       "corridor project trust")
            .arg(places.size())
            .arg(places.front().text()));
}

} // namespace inspection
