#include "workbench/inspectiondata/project/EpochTitles.h"

#include <QDir>
#include <QSet>

namespace inspection {

namespace {

QStringList plainTitles(const ProjectDescription& project) {
    QStringList titles;
    for (const Epoch& epoch : project.epochs) {
        const QString undated = titles.isEmpty() ? QStringLiteral("前期") : QStringLiteral("后期");
        titles << (epoch.date.isEmpty() ? undated : epoch.date);
    }
    return titles;
}

/// The last `parts` of the path.
QString endOf(const QString& path, int parts) {
    const QStringList names = path.split('/', Qt::SkipEmptyParts);
    return names.mid(names.size() - parts).join('/');
}

/// The shortest ends of these paths that differ.
QStringList tellingEnds(const QStringList& paths) {
    QStringList ends;
    for (int parts = 1;; ++parts) {
        ends.clear();
        for (const QString& path : paths) {
            ends << (path.count('/') > parts ? endOf(path, parts) : path);
        }
        if (QSet<QString>(ends.begin(), ends.end()).size() == ends.size() || ends == paths) {
            return ends;
        }
    }
}

} // namespace

QStringList epochTitles(const ProjectDescription& project) {
    const QStringList plain = plainTitles(project);
    QStringList titles = plain;
    for (const QString& title : QSet<QString>(plain.begin(), plain.end())) {
        QList<int> alike;
        QStringList files;
        for (int i = 0; i < plain.size(); ++i) {
            if (plain[i] == title) {
                alike << i;
                files << project.epochs[static_cast<std::size_t>(i)].dsm;
            }
        }
        const QStringList ends = alike.size() > 1 ? tellingEnds(files) : QStringList();
        for (int i = 0; i < ends.size(); ++i) {
            titles[alike[i]] = title + QStringLiteral("（%1）").arg(QDir::toNativeSeparators(ends[i]));
        }
    }
    return titles;
}

QString pairTitle(const ProjectDescription& project, const EpochPair& pair) {
    const QStringList titles = epochTitles(project);
    const auto title = [&](const QString& key) {
        const Epoch* epoch = project.findEpoch(key);
        return epoch ? titles[static_cast<int>(epoch - project.epochs.data())] : key;
    };
    return title(pair.older) + QStringLiteral(" → ") + title(pair.newer);
}

} // namespace inspection
