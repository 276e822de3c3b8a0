#include "app/model/Sqlite.h"

#include "core/support/Assert.h"

#include <sqlite3.h>

namespace vesto::sqlite {
namespace {

constexpr int busyMilliseconds = 5'000; // another program's transactions take a few milliseconds each

int primary(int code) {
    return code & 0xFF;
}

} // namespace

Error Error::damage(std::string message) {
    return {.code = SQLITE_CORRUPT, .systemNumber = 0, .message = std::move(message)};
}

bool Error::isDamage() const {
    return primary(code) == SQLITE_CORRUPT || primary(code) == SQLITE_NOTADB ||
           primary(code) == SQLITE_FORMAT;
}

bool Error::isMissingPart() const {
    return primary(code) == SQLITE_ERROR;
}

void Connection::Close::operator()(sqlite3* handle) const {
    ::sqlite3_close_v2(handle);
}

void Connection::Finalize::operator()(sqlite3_stmt* statement) const {
    ::sqlite3_finalize(statement);
}

Error Connection::lastError(int code) const {
    if (m_handle == nullptr)
        return {.code = code, .systemNumber = 0, .message = ::sqlite3_errstr(code)};
    // The number is of the last call that failed, whenever that was.
    const bool fromSystem =
        primary(code) == SQLITE_IOERR || primary(code) == SQLITE_CANTOPEN || primary(code) == SQLITE_FULL;
    return {.code = code,
            .systemNumber = fromSystem ? ::sqlite3_system_errno(m_handle.get()) : 0,
            .message = ::sqlite3_errmsg(m_handle.get())};
}

std::expected<Connection, Error> Connection::open(const std::filesystem::path& file) {
    Connection connection;
    sqlite3* handle = nullptr;
    const int result = ::sqlite3_open_v2(file.c_str(), &handle,
                                         SQLITE_OPEN_READWRITE | SQLITE_OPEN_NOMUTEX |
                                             SQLITE_OPEN_PRIVATECACHE | SQLITE_OPEN_EXRESCODE,
                                         nullptr);
    connection.m_handle.reset(handle);
    if (result != SQLITE_OK)
        return std::unexpected(connection.lastError(result));
    ::sqlite3_busy_timeout(handle, busyMilliseconds);
    for (const auto& [option, value] : {std::pair{SQLITE_DBCONFIG_DEFENSIVE, 1},
                                        {SQLITE_DBCONFIG_TRUSTED_SCHEMA, 0},
                                        {SQLITE_DBCONFIG_ENABLE_TRIGGER, 0},
                                        {SQLITE_DBCONFIG_ENABLE_VIEW, 0},
                                        {SQLITE_DBCONFIG_ENABLE_LOAD_EXTENSION, 0},
                                        {SQLITE_DBCONFIG_DQS_DDL, 0},
                                        {SQLITE_DBCONFIG_DQS_DML, 0}})
        ::sqlite3_db_config(handle, option, value, nullptr);
    // What is sorted or held back stays in memory: names leave no trace elsewhere on the disk.
    if (auto set =
            connection.run("PRAGMA cell_size_check=ON; PRAGMA synchronous=FULL; PRAGMA temp_store=MEMORY; "
                           "PRAGMA secure_delete=ON; PRAGMA journal_size_limit=4194304");
        !set)
        return std::unexpected(std::move(set).error());
    return connection;
}

bool Connection::isReadOnly() const {
    return ::sqlite3_db_readonly(m_handle.get(), "main") == 1;
}

std::expected<void, Error> Connection::run(const char* statements) {
    const int result = ::sqlite3_exec(m_handle.get(), statements, nullptr, nullptr, nullptr);
    if (result != SQLITE_OK)
        return std::unexpected(lastError(result));
    return {};
}

std::expected<std::optional<std::string>, Error> Connection::answer(const char* statement) {
    sqlite3_stmt* raw = nullptr;
    int result = ::sqlite3_prepare_v2(m_handle.get(), statement, -1, &raw, nullptr);
    const std::unique_ptr<sqlite3_stmt, Finalize> prepared(raw);
    if (result == SQLITE_OK)
        result = ::sqlite3_step(raw);
    if (result == SQLITE_DONE)
        return std::nullopt;
    if (result != SQLITE_ROW)
        return std::unexpected(lastError(result));
    const auto* text = static_cast<const char*>(::sqlite3_column_blob(raw, 0));
    return std::string(text == nullptr ? "" : text, static_cast<std::size_t>(::sqlite3_column_bytes(raw, 0)));
}

void Connection::abandon() {
    if (m_handle == nullptr)
        return;
    ::sqlite3_db_config(m_handle.get(), SQLITE_DBCONFIG_NO_CKPT_ON_CLOSE, 1, nullptr);
    m_statements.clear();
    m_handle.reset();
}

sqlite3_stmt* Connection::statement(const char* text, Error& error) {
    auto& kept = m_statements[text];
    if (kept == nullptr) {
        sqlite3_stmt* raw = nullptr;
        const int result =
            ::sqlite3_prepare_v3(m_handle.get(), text, -1, SQLITE_PREPARE_PERSISTENT, &raw, nullptr);
        kept.reset(raw);
        if (result != SQLITE_OK)
            error = lastError(result);
    }
    return kept.get();
}

Work::Work(Connection& connection, Kind kind)
    : m_connection(connection) {
    VESTO_ASSERT(connection.isOpen());
    auto begun = connection.run(kind == Kind::write ? "BEGIN IMMEDIATE" : "BEGIN");
    m_begun = begun.has_value();
    if (!begun)
        m_error = std::move(begun).error();
}

Work::~Work() {
    // Some failures have undone it already.
    if (m_begun && ::sqlite3_get_autocommit(m_connection.m_handle.get()) == 0)
        (void)m_connection.run("ROLLBACK");
}

void Work::fail(Error error) {
    if (!m_error)
        m_error = std::move(error);
}

std::expected<void, Error> Work::finish() {
    if (!m_error)
        if (auto committed = m_connection.run("COMMIT"); !committed)
            m_error = std::move(committed).error();
    if (m_error)
        return std::unexpected(*m_error); // the destructor undoes
    m_begun = false;
    return {};
}

Query::Query(Work& work, const char* text, Prepared)
    : m_work(work) {
    if (work.failed())
        return;
    Error error;
    m_statement = work.m_connection.statement(text, error);
    if (m_statement == nullptr)
        work.fail(std::move(error));
    else
        VESTO_ASSERT(::sqlite3_stmt_busy(m_statement) == 0);
}

Query::~Query() {
    if (m_statement == nullptr)
        return;
    ::sqlite3_reset(m_statement);
    ::sqlite3_clear_bindings(m_statement);
}

void Query::check(int result) {
    if (result != SQLITE_OK)
        m_work.fail(m_work.m_connection.lastError(result));
}

void Query::bind(std::int64_t value) {
    if (m_statement != nullptr)
        check(::sqlite3_bind_int64(m_statement, ++m_bound, value));
}

void Query::bind(double value) {
    if (m_statement != nullptr)
        check(::sqlite3_bind_double(m_statement, ++m_bound, value));
}

void Query::bind(std::string_view text) {
    const char* bytes = text.data() == nullptr ? "" : text.data(); // else it would be NULL
    if (m_statement != nullptr)
        check(::sqlite3_bind_text64(m_statement, ++m_bound, bytes, text.size(), SQLITE_STATIC, SQLITE_UTF8));
}

void Query::bind(const Blob& blob) {
    const char* bytes = blob.bytes.data() == nullptr ? "" : blob.bytes.data();
    if (m_statement != nullptr)
        check(::sqlite3_bind_blob64(m_statement, ++m_bound, bytes, blob.bytes.size(), SQLITE_STATIC));
}

void Query::bind(std::nullopt_t) {
    if (m_statement != nullptr)
        check(::sqlite3_bind_null(m_statement, ++m_bound));
}

bool Query::next() {
    if (m_statement == nullptr || m_work.failed())
        return false;
    const int result = ::sqlite3_step(m_statement);
    if (result == SQLITE_ROW)
        return true;
    if (result != SQLITE_DONE)
        m_work.fail(m_work.m_connection.lastError(result));
    return false;
}

bool Query::isNull(int column) const {
    return ::sqlite3_column_type(m_statement, column) == SQLITE_NULL;
}

std::int64_t Query::integer(int column) const {
    return ::sqlite3_column_int64(m_statement, column);
}

double Query::real(int column) const {
    return ::sqlite3_column_double(m_statement, column);
}

std::string_view Query::bytes(int column) const {
    const auto* bytes = static_cast<const char*>(::sqlite3_column_blob(m_statement, column));
    const auto size = static_cast<std::size_t>(::sqlite3_column_bytes(m_statement, column));
    return bytes == nullptr ? std::string_view() : std::string_view(bytes, size);
}

std::optional<std::string> Query::optionalText(int column) const {
    if (isNull(column))
        return std::nullopt;
    return text(column);
}

} // namespace vesto::sqlite
