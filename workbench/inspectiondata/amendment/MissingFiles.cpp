#include "workbench/inspectiondata/amendment/MissingFiles.h"
#include "workbench/inspectiondata/project/RasterPlace.h"

#include <QDir>
#include <QFileInfo>

#include <algorithm>

namespace inspection {

namespace {

AmendedEpoch& epochOf(AmendmentWish& wish, const QString& key) {
    const auto found = std::find_if(wish.epochs.begin(), wish.epochs.end(),
                                    [&key](const AmendedEpoch& epoch) { return epoch.key == key; });
    return found != wish.epochs.end() ? *found : wish.epochs.emplace_back(AmendedEpoch{key});
}

void wishFor(const MissingFile& missing, const QString& file, AmendmentWish& wish) {
    switch (missing.sort) {
    case MissingFile::Sort::Surface:
        epochOf(wish, missing.epoch).dsm = file;
        break;
    case MissingFile::Sort::Picture:
        epochOf(wish, missing.epoch).dom = file;
        break;
    case MissingFile::Sort::Line:
        wish.centerlineFile = file;
        break;
    }
}

QString nameOf(const MissingFile& missing) {
    return QFileInfo(missing.path).fileName();
}

bool hasNameAlone(const MissingFile& one, const std::vector<MissingFile>& missing) {
    return std::count_if(missing.begin(), missing.end(),
                         [&one](const MissingFile& other) { return nameOf(other) == nameOf(one); }) == 1;
}

/// Where the missing file lies in the folder; empty when it does not.
QString placeIn(const QString& folder, const MissingFile& one, const std::vector<MissingFile>& missing) {
    const QStringList parts = QDir::cleanPath(one.path).split('/', Qt::SkipEmptyParts);
    for (qsizetype count = parts.size(); count > 0; --count) {
        const QString file = QDir(folder).absoluteFilePath(parts.mid(parts.size() - count).join('/'));
        if (QFileInfo(file).isFile() && (count > 1 || hasNameAlone(one, missing))) {
            return file;
        }
    }
    return {};
}

/// The folder that was put in the place of another one when the file went from one path to the other.
QString movedRoot(const QString& earlier, const QString& now) {
    const QStringList from = QDir::cleanPath(earlier).split('/');
    const QStringList to = QDir::cleanPath(now).split('/');
    qsizetype same = 0;
    while (same + 1 < qMin(from.size(), to.size()) &&
           from[from.size() - 1 - same] == to[to.size() - 1 - same]) {
        ++same;
    }
    return to.mid(0, to.size() - qMax<qsizetype>(same, 1)).join('/');
}

} // namespace

QString MissingFile::title() const {
    switch (sort) {
    case Sort::Surface:
        return QStringLiteral("期次 %1 的表面模型").arg(epoch);
    case Sort::Picture:
        return QStringLiteral("期次 %1 的正射影像").arg(epoch);
    case Sort::Line:
        break;
    }
    return QStringLiteral("中心线文件");
}

QString MissingFile::option() const {
    switch (sort) {
    case Sort::Surface:
        return QStringLiteral("--epoch %1 --dsm NEW").arg(epoch);
    case Sort::Picture:
        return QStringLiteral("--epoch %1 --dom NEW").arg(epoch);
    case Sort::Line:
        break;
    }
    return QStringLiteral("--locate FOLDER");
}

std::vector<MissingFile> missingFiles(const ProjectDescription& project) {
    std::vector<MissingFile> missing;
    const auto look = [&missing](MissingFile::Sort sort, const QString& key, const QString& path) {
        if (!path.isEmpty() && !rasterExists(path)) {
            missing.push_back({sort, key, path});
        }
    };
    for (const Epoch& epoch : project.epochs) {
        look(MissingFile::Sort::Surface, project.keyOf(epoch), epoch.dsm);
        look(MissingFile::Sort::Picture, project.keyOf(epoch), epoch.dom);
    }
    look(MissingFile::Sort::Line, {}, project.centerline);
    return missing;
}

AmendmentWish locatedIn(const QString& folder, const std::vector<MissingFile>& missing) {
    AmendmentWish wish;
    for (const MissingFile& one : missing) {
        const QString file = placeIn(folder, one, missing);
        if (!file.isEmpty()) {
            wishFor(one, file, wish);
        }
    }
    return wish;
}

AmendmentWish locatedAt(const QString& file, const MissingFile& which,
                        const std::vector<MissingFile>& missing) {
    AmendmentWish wish = locatedIn(movedRoot(which.path, file), missing);
    wishFor(which, file, wish);
    return wish;
}

} // namespace inspection
