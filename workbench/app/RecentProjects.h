#pragma once

#include <QString>

#include <vector>

/// A project that was opened before.
struct RecentProject {
    QString folder; ///< absolute
    QString name;
    QString opened; ///< ISO date
};

/// The projects that the user opened last, newest first; kept in the user's settings. GUI thread.
class RecentProjects {
public:
    static constexpr int kMost = 10;

    static std::vector<RecentProject> all();
    /// Puts a project on top, as opened today.
    static void add(const QString& folder, const QString& name);
    static void remove(const QString& folder);
};

/// Where a project's small picture lies, whether it is there or not.
QString thumbnailFile(const QString& folder);
