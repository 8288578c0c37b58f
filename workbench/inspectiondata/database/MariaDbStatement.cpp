#include "workbench/inspectiondata/database/MariaDbStatement.h"

#include "host/Gbk.h"

#include <errmsg.h>
#include <mysqld_error.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <numeric>

namespace mysqlhelper {

namespace {

using Flag = std::remove_pointer_t<decltype(MYSQL_BIND::is_null)>;

/// The values of a statement in the form the client library sends; `values` must outlive it.
class Parameters {
public:
    explicit Parameters(const KV_Values& values) : m_binds(values.size()) {
        m_texts.reserve(values.size());
        for (std::size_t i = 0; i < values.size(); ++i) {
            m_bind = &m_binds[i];
            std::visit([this](const auto& value) { put(value); }, values[i]);
        }
    }
    MYSQL_BIND* binds() { return m_binds.data(); }
    /// What travels, with a little for each value.
    std::size_t bytes() const {
        constexpr std::size_t kOfEach = 16;
        return std::accumulate(
            m_binds.begin(), m_binds.end(), std::size_t{0},
            [](std::size_t sum, const MYSQL_BIND& bind) { return sum + bind.buffer_length + kOfEach; });
    }

private:
    void put(std::monostate) { m_bind->buffer_type = MYSQL_TYPE_NULL; }
    void put(const std::int64_t& number) { putBytes(MYSQL_TYPE_LONGLONG, &number, sizeof number); }
    void put(const double& number) {
        if (std::isnan(number)) {
            put(std::monostate()); // as SQLite does
        } else {
            putBytes(MYSQL_TYPE_DOUBLE, &number, sizeof number);
        }
    }
    void put(const std::string& gbk) {
        const QByteArray& text = m_texts.emplace_back(fromGbk(gbk).toUtf8());
        putBytes(MYSQL_TYPE_STRING, text.constData(), static_cast<std::size_t>(text.size()));
    }
    void put(const KV_Blob& blob) {
        putBytes(MYSQL_TYPE_BLOB, blob.empty() ? "" : static_cast<const void*>(blob.data()), blob.size());
    }
    // The library's structure serves both directions, so it has no const; what is sent is only read.
    void putBytes(enum_field_types type, const void* bytes, std::size_t size) {
        m_bind->buffer_type = type;
        m_bind->buffer = const_cast<void*>(bytes);
        m_bind->buffer_length = static_cast<unsigned long>(size);
    }

    std::vector<MYSQL_BIND> m_binds;
    std::vector<QByteArray> m_texts;
    MYSQL_BIND* m_bind = nullptr;
};

enum class Sort { Integer, Real, Text, Blob };

Sort sortOf(const MYSQL_FIELD& field) {
    constexpr unsigned kNoCharacters = 63; // number of the "character set" of blobs
    switch (field.type) {
    case MYSQL_TYPE_TINY:
    case MYSQL_TYPE_SHORT:
    case MYSQL_TYPE_INT24:
    case MYSQL_TYPE_LONG:
    case MYSQL_TYPE_LONGLONG:
        return Sort::Integer;
    case MYSQL_TYPE_DECIMAL:
    case MYSQL_TYPE_NEWDECIMAL:
        return field.decimals == 0 ? Sort::Integer : Sort::Real; // sums of whole numbers are decimals
    case MYSQL_TYPE_FLOAT:
    case MYSQL_TYPE_DOUBLE:
        return Sort::Real;
    case MYSQL_TYPE_STRING:
    case MYSQL_TYPE_VAR_STRING:
    case MYSQL_TYPE_TINY_BLOB:
    case MYSQL_TYPE_BLOB:
    case MYSQL_TYPE_MEDIUM_BLOB:
    case MYSQL_TYPE_LONG_BLOB:
        return field.charsetnr == kNoCharacters ? Sort::Blob : Sort::Text;
    default:
        return Sort::Text;
    }
}

/// One column of the row that was fetched last.
struct Column {
    std::string name;
    Sort sort = Sort::Text;
    long long integer = 0;
    double real = 0.0;
    unsigned long size = 0; ///< bytes of a text or a blob
    Flag isNull{};

    explicit Column(const MYSQL_FIELD& field) : name(field.name), sort(sortOf(field)) {}

    /// Where the library is to put numbers; of texts and blobs it tells the size first.
    MYSQL_BIND bind() {
        MYSQL_BIND bind{};
        bind.is_null = &isNull;
        bind.length = &size;
        bind.buffer_type = sort == Sort::Integer ? MYSQL_TYPE_LONGLONG
                           : sort == Sort::Real  ? MYSQL_TYPE_DOUBLE
                                                 : MYSQL_TYPE_BLOB;
        bind.buffer = sort == Sort::Integer ? static_cast<void*>(&integer)
                      : sort == Sort::Real  ? &real
                                            : nullptr;
        bind.buffer_length = sort == Sort::Integer || sort == Sort::Real ? 8 : 0;
        return bind;
    }
};

/// The bytes of a text or a blob of the row that was fetched last.
QByteArray bytesOf(MYSQL_STMT& statement, const Column& column, unsigned index) {
    QByteArray bytes(static_cast<qsizetype>(column.size), '\0');
    if (!bytes.isEmpty()) {
        unsigned long size = 0;
        MYSQL_BIND bind{};
        bind.buffer_type = MYSQL_TYPE_BLOB;
        bind.buffer = bytes.data();
        bind.buffer_length = column.size;
        bind.length = &size;
        mysql_stmt_fetch_column(&statement, &bind, index, 0);
    }
    return bytes;
}

KV_Value valueOf(MYSQL_STMT& statement, const Column& column, unsigned index) {
    if (column.isNull != 0) {
        return std::monostate();
    }
    switch (column.sort) {
    case Sort::Integer:
        return std::int64_t{column.integer};
    case Sort::Real:
        return column.real;
    case Sort::Blob: {
        const QByteArray bytes = bytesOf(statement, column, index);
        return KV_Blob(bytes.begin(), bytes.end());
    }
    case Sort::Text:
        break;
    }
    return toGbk(QString::fromUtf8(bytesOf(statement, column, index)));
}

struct FreeResult {
    void operator()(MYSQL_RES* result) const { mysql_free_result(result); }
};

} // namespace

bool MariaDbError::isLostConnection() const {
    constexpr unsigned kConnectionKilled = 1927; // MariaDB
    constexpr unsigned kDisconnectedIdle = 4031; // MySQL
    constexpr std::array kLost{unsigned{CR_SERVER_GONE_ERROR},
                               unsigned{CR_SERVER_LOST},
                               unsigned{CR_SERVER_LOST_EXTENDED},
                               unsigned{CR_CONNECTION_ERROR},
                               unsigned{CR_CONN_HOST_ERROR},
                               unsigned{ER_SERVER_SHUTDOWN},
                               unsigned{ER_CON_COUNT_ERROR},
                               kConnectionKilled,
                               kDisconnectedIdle};
    return std::find(kLost.begin(), kLost.end(), code) != kLost.end();
}

MariaDbStatement::MariaDbStatement(MYSQL& connection, const QByteArray& utf8Sql)
    : m_statement(mysql_stmt_init(&connection)) {
    if (!m_statement) {
        throw MariaDbError(mysql_errno(&connection), mysql_error(&connection), false);
    }
    if (mysql_stmt_prepare(m_statement.get(), utf8Sql.constData(),
                           static_cast<unsigned long>(utf8Sql.size())) != 0) {
        fail(false);
    }
}

void MariaDbStatement::fail(bool sent) const {
    throw MariaDbError(mysql_stmt_errno(m_statement.get()), mysql_stmt_error(m_statement.get()), sent);
}

void MariaDbStatement::execute(const KV_Values& bound, std::size_t mostBytes) {
    if (mysql_stmt_param_count(m_statement.get()) != bound.size()) {
        throw MariaDbError(0, "the statement has another number of parameters than values", false);
    }
    Parameters parameters(bound);
    if (parameters.bytes() > mostBytes) {
        throw MariaDbError(ER_NET_PACKET_TOO_LARGE,
                           "the values are larger than the server's max_allowed_packet", false);
    }
    if (!bound.empty() && mysql_stmt_bind_param(m_statement.get(), parameters.binds()) != 0) {
        fail(false);
    }
    if (mysql_stmt_execute(m_statement.get()) != 0 || mysql_stmt_store_result(m_statement.get()) != 0) {
        fail(true);
    }
}

KV_Rows MariaDbStatement::rows() {
    const std::unique_ptr<MYSQL_RES, FreeResult> described(mysql_stmt_result_metadata(m_statement.get()));
    if (!described) {
        return {};
    }
    const unsigned count = mysql_num_fields(described.get());
    std::vector<Column> columns;
    columns.reserve(count); // the library keeps pointers into it
    std::vector<MYSQL_BIND> binds;
    for (unsigned i = 0; i < count; ++i) {
        binds.push_back(columns.emplace_back(*mysql_fetch_field_direct(described.get(), i)).bind());
    }
    if (mysql_stmt_bind_result(m_statement.get(), binds.data()) != 0) {
        fail(true);
    }
    KV_Rows rows;
    int outcome = 0;
    while ((outcome = mysql_stmt_fetch(m_statement.get())) == 0 || outcome == MYSQL_DATA_TRUNCATED) {
        KV_Record row;
        for (unsigned i = 0; i < count; ++i) {
            row.emplace(columns[i].name, valueOf(*m_statement, columns[i], i));
        }
        rows.push_back(std::move(row));
    }
    if (outcome != MYSQL_NO_DATA) {
        fail(true);
    }
    return rows;
}

Change MariaDbStatement::change() const {
    return {static_cast<std::int64_t>(mysql_stmt_affected_rows(m_statement.get())),
            static_cast<std::int64_t>(mysql_stmt_insert_id(m_statement.get()))};
}

} // namespace mysqlhelper
