#include "workbench/inspectiondata/database/TableCopy.h"

#include "workbench/inspectiondata/database/Fields.h"

#include <QCryptographicHash>

#include <cstring>

namespace inspection {

using mysqlhelper::KV_Blob;
using mysqlhelper::KV_MySQL;
using mysqlhelper::KV_Record;
using mysqlhelper::KV_Rows;
using mysqlhelper::KV_Value;

namespace {

constexpr std::size_t kRowsAtATime = 500;

/// Each value with its sort and length in front, so that no two different rows give the same bytes.
class Digester {
public:
    void add(const KV_Record& row) {
        for (const auto& [name, value] : row) {
            addBytes('n', name.data(), name.size());
            std::visit([this](const auto& content) { add(content); }, value);
        }
    }
    QByteArray result() const { return m_hash.result(); }

private:
    void add(std::monostate) { addBytes('0', "", 0); }
    void add(std::int64_t number) { addBytes('i', &number, sizeof number); }
    void add(double number) { addBytes('d', &number, sizeof number); }
    void add(const std::string& text) { addBytes('t', text.data(), text.size()); }
    void add(const KV_Blob& blob) { addBytes('b', blob.data(), blob.size()); }
    void addBytes(char sort, const void* bytes, std::size_t size) {
        const QByteArray head = sort + QByteArray::number(static_cast<qulonglong>(size)) + ':';
        m_hash.addData(head);
        m_hash.addData({static_cast<const char*>(bytes), static_cast<qsizetype>(size)});
    }

    QCryptographicHash m_hash{QCryptographicHash::Sha256};
};

KV_Rows rowsBehind(KV_MySQL& database, const StoredTable& table, const KV_Value* lastKey) {
    const std::string order = " order by " + table.key + " limit " + std::to_string(kRowsAtATime);
    const std::string all = "select * from " + table.name;
    return !lastKey ? database.queryRecord(all + order)
                    : database.queryRecord(all + " where " + table.key + ">?" + order, {*lastKey});
}

} // namespace

void visitRows(KV_MySQL& database, const StoredTable& table, const RowVisitor& visit) {
    bool goOn = true;
    KV_Rows rows = rowsBehind(database, table, nullptr);
    while (goOn && !rows.empty()) {
        for (auto row = rows.begin(); goOn && row != rows.end(); ++row) {
            goOn = visit(*row);
        }
        const KV_Value lastKey = rows.back().at(table.key);
        rows = goOn && rows.size() == kRowsAtATime ? rowsBehind(database, table, &lastKey) : KV_Rows();
    }
}

TableDigest digestRows(KV_MySQL& database, const StoredTable& table, const RowVisitor& visit) {
    Digester digester;
    TableDigest digest;
    visitRows(database, table, [&](const KV_Record& row) {
        digester.add(row);
        ++digest.rows;
        return visit(row);
    });
    digest.checksum = digester.result();
    return digest;
}

std::int64_t countRows(KV_MySQL& database, const StoredTable& table) {
    const KV_Rows rows = database.queryRecord("select count(*) as n from " + table.name);
    return wholeField(rows.at(0), "n");
}

} // namespace inspection
