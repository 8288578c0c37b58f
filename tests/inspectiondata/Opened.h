#pragma once

#include "host/inspection/Station.h"
#include "tests/support/SamplePair.h"
#include "tests/support/SmallProject.h"
#include "workbench/inspectiondata/compute/ComputeAnomalies.h"
#include "workbench/inspectiondata/database/PipelineDatabase.h"
#include "workbench/inspectiondata/database/Schema.h"
#include "workbench/inspectiondata/project/Project.h"

#include <gtest/gtest.h>

#include <memory>

/// The value of a result that must have one.
template<typename T>
T valueOf(inspection::Result<T> result) {
    EXPECT_TRUE(result) << result.error().message.toStdString();
    if (!result) {
        throw std::runtime_error("no value");
    }
    return std::move(*result);
}

/// The failure of a result that must not have a value, checked to be one line.
template<typename T>
inspection::Failure failureOf(inspection::Result<T> result) {
    EXPECT_FALSE(result);
    if (result) {
        throw std::runtime_error("no failure");
    }
    const inspection::Failure& failure = result.error();
    EXPECT_FALSE(failure.message.isEmpty());
    EXPECT_FALSE(failure.userMessage.isEmpty());
    EXPECT_FALSE(failure.message.contains('\n'));
    EXPECT_FALSE(failure.userMessage.contains('\n'));
    return failure;
}

/// A project that was told where its tables are to lie; empty for inspection.db.
inline inspection::Project openedProject(const QString& folder, const QString& database) {
    auto project = valueOf(inspection::Project::open(folder));
    if (!database.isEmpty()) {
        EXPECT_TRUE(project.setDatabase(database).has_value());
    }
    return project;
}

/// A small project that is open with its database.
struct OpenedProject {
    explicit OpenedProject(const QString& databaseUrl = {})
        : project(openedProject(files.folder(), databaseUrl)), database(open()) {}

    SmallProject files;
    inspection::Project project;
    std::unique_ptr<inspection::PipelineDatabase> database;

    std::unique_ptr<inspection::PipelineDatabase>
    open(inspection::Project::Access access = inspection::Project::Access::Exclusive) const {
        return valueOf(inspection::PipelineDatabase::open(project.description(), access));
    }
    mysqlhelper::KV_MySQL& sql() { return *database->GetMySQL(); }
    inspection::ComputationRequest request() const {
        inspection::ComputationRequest request;
        request.project = project.description();
        request.threads = 2;
        return request;
    }
    /// What an inspector chose, as it is stored under the anomaly's id.
    void storeAttribute(const SdiffData& anomaly) {
        sql().updateRecord(inspection::kAnomalyTable, {{"attribute", anomaly.attribute}}, "where id=?",
                           {anomaly.id});
    }
};
