#include "workbench/app/RecentProjects.h"

#include "workbench/style/Settings.h"

#include <QCryptographicHash>
#include <QDate>
#include <QDir>
#include <QFile>
#include <QStandardPaths>

#include <algorithm>

namespace {

constexpr auto kKey = "recentProjects";

QString cleaned(const QString& folder) {
    return QDir::cleanPath(QDir(folder).absolutePath());
}

void store(const std::vector<RecentProject>& projects) {
    Settings kept;
    kept.remove(kKey);
    kept.beginWriteArray(kKey, int(projects.size()));
    for (std::size_t i = 0; i < projects.size(); ++i) {
        kept.setArrayIndex(int(i));
        kept.setValue("folder", projects[i].folder);
        kept.setValue("name", projects[i].name);
        kept.setValue("opened", projects[i].opened);
    }
    kept.endArray();
}

std::vector<RecentProject> without(const QString& folder) {
    std::vector<RecentProject> projects = RecentProjects::all();
    projects.erase(std::remove_if(projects.begin(), projects.end(),
                                  [&](const RecentProject& project) { return project.folder == folder; }),
                   projects.end());
    return projects;
}

} // namespace

std::vector<RecentProject> RecentProjects::all() {
    std::vector<RecentProject> projects;
    Settings kept;
    const int count = kept.beginReadArray(kKey);
    for (int i = 0; i < count; ++i) {
        kept.setArrayIndex(i);
        projects.push_back({kept.value("folder").toString(), kept.value("name").toString(),
                            kept.value("opened").toString()});
    }
    return projects;
}

void RecentProjects::add(const QString& folder, const QString& name) {
    const QString path = cleaned(folder);
    std::vector<RecentProject> projects = without(path);
    projects.insert(projects.begin(), {path, name, QDate::currentDate().toString(Qt::ISODate)});
    projects.resize(std::min<std::size_t>(projects.size(), kMost));
    store(projects);
}

void RecentProjects::remove(const QString& folder) {
    const QString path = cleaned(folder);
    store(without(path));
    QFile::remove(thumbnailFile(path));
}

QString thumbnailFile(const QString& folder) {
    const QByteArray key =
        QCryptographicHash::hash(cleaned(folder).toUtf8(), QCryptographicHash::Sha1).toHex();
    return QStandardPaths::writableLocation(QStandardPaths::GenericCacheLocation) + "/corridor/thumbnails/" +
           QString::fromLatin1(key) + ".jpg";
}
