// The rows that an edit's JSON text keeps, and the objects that rows become.
#include "host/inspection/Records.h"
#include "host/inspection/Station.h"
#include "tests/fuzz/Input.h"
#include "workbench/inspectiondata/database/AnomalyTable.h"
#include "workbench/inspectiondata/database/RowChange.h"

namespace {

using inspection::RowChange;
using inspection::RowChanges;
using mysqlhelper::KV_Record;

void becomeObjects(const KV_Record& row) {
    inspection::anomalyOf(row);
    inspection::isDeleted(row);
    KV_Station station;
    station.init_from_sqldata(row);
    Special_Region region;
    region.init_from_sqldata(row);
    KV_Record fields;
    region.evalute_record(fields);
}

bool areSame(const RowChanges& a, const RowChanges& b) {
    return std::equal(a.begin(), a.end(), b.begin(), b.end(), [](const RowChange& x, const RowChange& y) {
        return x.table == y.table && x.id == y.id && x.before == y.before && x.after == y.after;
    });
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const auto changes = inspection::toRowChanges(fuzz::textOf(data, size));
    if (!changes) {
        return 0;
    }
    for (const RowChange& change : *changes) {
        for (const auto* row : {&change.before, &change.after}) {
            if (row->has_value()) {
                becomeObjects(**row);
            }
        }
    }
    const auto again = inspection::toRowChanges(inspection::toText(*changes));
    fuzz::require(again && areSame(*changes, *again));
    return 0;
}
