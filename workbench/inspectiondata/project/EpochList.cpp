#include "workbench/inspectiondata/project/EpochList.h"

#include "workbench/inspectiondata/project/ProjectFile.h"

#include <QDate>

#include <algorithm>

namespace inspection {

namespace {

Status checkDate(const QString& date) {
    if (date.isEmpty() || QDate::fromString(date, Qt::ISODate).toString(Qt::ISODate) == date) {
        return {};
    }
    return fileFailure(date, "not a date like 2025-05-20", "不是日期，格式应为 2025-05-20");
}

Status checkEpoch(const ProjectDescription& project, const Epoch& epoch) {
    if (auto done = checkDate(epoch.date); !done) {
        return failed(done);
    }
    const QString key = project.keyOf(epoch);
    if (project.findEpoch(key)) {
        return fileFailure(projectFile(project.folder), "already has an epoch " + key, "已有期次 " + key);
    }
    return {};
}

} // namespace

Result<ProjectDescription> withEpoch(const ProjectDescription& project, const Epoch& epoch) {
    if (auto done = checkEpoch(project, epoch); !done) {
        return failed(done);
    }
    ProjectDescription larger = project;
    const auto place = std::find_if(larger.epochs.begin(), larger.epochs.end(), [&](const Epoch& other) {
        return !epoch.date.isEmpty() && (other.date.isEmpty() || other.date > epoch.date);
    });
    larger.epochs.insert(place, epoch);
    return larger;
}

Result<ProjectDescription> withoutEpoch(const ProjectDescription& project, const QString& key) {
    const Epoch* epoch = project.findEpoch(key);
    if (!epoch) {
        return fileFailure(projectFile(project.folder), "has no epoch " + key, "没有期次 " + key);
    }
    if (project.epochs.size() <= 2) {
        return fileFailure(projectFile(project.folder), "a project needs two epochs", "项目至少需要两期数据");
    }
    ProjectDescription smaller = project;
    smaller.epochs.erase(smaller.epochs.begin() + (epoch - project.epochs.data()));
    if (smaller.compared && smaller.compared->names(key)) {
        smaller.compared.reset();
    }
    return smaller;
}

} // namespace inspection
