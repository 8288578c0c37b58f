#pragma once

#include "tests/inspectiondata/TestDatabase.h"
#include "tests/inspectiondata/ThreeEpochs.h"

#include "host/Gbk.h"
#include "workbench/inspectiondata/amendment/AmendProject.h"
#include "workbench/inspectiondata/amendment/ProjectLine.h"
#include "workbench/inspectiondata/check/CheckProject.h"
#include "workbench/inspectiondata/database/Inspector.h"
#include "workbench/inspectiondata/history/ProjectHistory.h"

#include <optional>

/// The small project with three epochs of which two pairs were compared, and what an inspector did: judged a fill of the
/// first pair and one of the second, and deleted the cut of the first.
class JudgedProject {
public:
    explicit JudgedProject(const QString& databaseUrl = {}) : opened(databaseUrl) {
        using namespace inspection;
        EXPECT_TRUE(opened.project.addEpoch(thirdEpoch(opened.files)).has_value());
        for (const EpochPair& pair : {kSamplePair, kThirdPair}) {
            valueOf(computeAnomalies(requestFor(opened, pair)));
        }
        takeHistory();
        judge(kSamplePair, 1, "塌陷");
        judge(kThirdPair, 2, "深挖");
        remove(readAnomalies(sql(), 2, kSamplePair).at(0));
    }

    mysqlhelper::KV_MySQL& sql() { return opened.sql(); }
    const inspection::ProjectDescription& description() const { return opened.project.description(); }
    void takeHistory() { history.setDatabase(&sql(), inspection::inspectorOf(description())); }

    inspection::Result<inspection::AmendmentEffect>
    amend(const inspection::AmendmentWish& wish, const inspection::AmendmentProgress& progress = {}) {
        auto plan = inspection::planAmendment(description(), inspection::readStations(sql()), wish);
        if (!plan) {
            return failed(plan);
        }
        return inspection::amendProject(opened.project, sql(), *std::move(plan), progress);
    }

    /// Rows of anomalies by id, without their stations.
    std::map<std::int64_t, mysqlhelper::KV_Record> anomalies() {
        std::map<std::int64_t, mysqlhelper::KV_Record> rows;
        for (mysqlhelper::KV_Record row : sql().queryRecord("select * from anomaly")) {
            row.erase("station_id");
            rows[std::get<std::int64_t>(row.at("id"))] = row;
        }
        return rows;
    }
    std::string findings() {
        QStringList lines;
        for (const inspection::Finding& finding : inspection::checkProject(description(), sql())) {
            lines << finding.line();
        }
        return lines.join('\n').toStdString();
    }

    /// Leaves the folder to others; only `opened.files` can be used afterwards.
    void close() {
        history.setDatabase(nullptr, {});
        opened.database.reset();
        const std::optional<inspection::Project> closed(std::move(opened.project));
    }

    OpenedProject opened;
    inspection::ProjectHistory history;

private:
    void judge(const inspection::EpochPair& pair, std::uint32_t station, const char* verdict) {
        const SdiffData anomaly = inspection::readAnomalies(sql(), station, pair).at(0);
        EXPECT_TRUE(history.perform("分类 1 处异常", [&](inspection::EditTransaction& edit) {
            edit.update("anomaly", anomaly.id, {{"attribute", toGbk(verdict)}}, anomaly.version);
        }));
    }
    void remove(const SdiffData& anomaly) {
        EXPECT_TRUE(history.perform("删除 1 处异常", [&](inspection::EditTransaction& edit) {
            edit.remove("anomaly", anomaly.id, anomaly.version);
        }));
    }
};
