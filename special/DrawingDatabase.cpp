#include "special/DrawingDatabase.h"

#include "host/inspection/Records.h"
#include "plugin/Inspection.h"

#include <iostream>

bool isDrawingDatabaseReady() {
    auto* pipeline = dataSet<PipelineDataSet>();
    if (!pipeline || !pipeline->GetConncetDBState(0) || !pipeline->GetMySQL()) {
        return false;
    }
    const std::string table = pipeline->Gettablename(KV_PIPE_NODE);
    if (table.empty()) {
        return false;
    }
    try {
        const mysqlhelper::KV_Rows rows = pipeline->GetMySQL()->queryRecord("select * from " + table + " ");
        if (rows.empty()) {
            return false;
        }
        KV_BasicNode node;
        node.init_from_sqldata(rows.front());
        return true;
    } catch (const mysqlhelper::KV_MySQL_Exception& error) {
        std::cout << error.what() << std::endl;
        return false;
    }
}
