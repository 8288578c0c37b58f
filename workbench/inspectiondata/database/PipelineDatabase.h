#pragma once

#include "host/Export.h"
#include "host/inspection/DataSet.h"
#include "workbench/inspectiondata/project/Project.h"
#include "workbench/inspectiondata/project/Result.h"

#include <memory>

namespace inspection {

/// A project's own database, inspection.db or one on a server. Belongs to the thread that opened it.
class INSPECTIONDATA_API PipelineDatabase : public PipelineDataSet {
public:
    /// Opens the database and brings its schema up to date. When it has no stations yet, stations and nodes
    /// are read from the project's centre-line file, high-consequence areas from its special.gpkg. With
    /// read-only access nothing is written and the database must exist.
    static Result<std::unique_ptr<PipelineDatabase>> open(const ProjectDescription& project,
                                                          Project::Access access);

    ~PipelineDatabase() override;

    bool GetConncetDBState(int connection = 0) const override;
    std::string Gettablename(int type) const override;
    mysqlhelper::KV_MySQL* GetMySQL() override { return m_database.get(); }

private:
    explicit PipelineDatabase(std::unique_ptr<mysqlhelper::KV_MySQL> database);

    std::unique_ptr<mysqlhelper::KV_MySQL> m_database;
};

} // namespace inspection
