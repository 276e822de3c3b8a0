#pragma once
#include <concepts>
#include <cstdint>
#include <expected>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>

struct sqlite3;
struct sqlite3_stmt;

/// SQLite as the store uses it. One thread for a connection and all that came from it.
namespace vesto::sqlite {

struct Error {
    int code = 0;         // SQLite's extended result code
    int systemNumber = 0; // the system's error number behind it; 0 where there is none
    std::string message;  // SQLite's own, in English

    /// That what is stored makes no sense.
    [[nodiscard]] static Error damage(std::string message);

    /// Whether the file itself is at fault, and not its surroundings.
    [[nodiscard]] bool isDamage() const;

    /// Whether a statement named what is not there, or was wrong otherwise.
    [[nodiscard]] bool isMissingPart() const;
};

class Query;

/// One open file, with its statements, each prepared at its first use and kept.
class Connection {
public:
    Connection() = default; // closed
    /// Makes no file.
    [[nodiscard]] static std::expected<Connection, Error> open(const std::filesystem::path& file);

    [[nodiscard]] bool isOpen() const { return m_handle != nullptr; }
    [[nodiscard]] bool isReadOnly() const;

    /// Statements without values and without an answer that matters, as they come.
    [[nodiscard]] std::expected<void, Error> run(const char* statements);

    /// The first column of the first row; nothing where there is no row. Not kept.
    [[nodiscard]] std::expected<std::optional<std::string>, Error> answer(const char* statement);

    /// Closes and leaves the files as they are, where they are not to be touched any more.
    void abandon();

private:
    friend class Query;
    friend class Work;
    struct Close {
        void operator()(sqlite3* handle) const;
    };
    struct Finalize {
        void operator()(sqlite3_stmt* statement) const;
    };

    [[nodiscard]] Error lastError(int code) const;
    /// Nothing with the error in `error`. The statement is the connection's, and `text` a literal.
    [[nodiscard]] sqlite3_stmt* statement(const char* text, Error& error);

    std::unique_ptr<sqlite3, Close> m_handle;
    std::unordered_map<const char*, std::unique_ptr<sqlite3_stmt, Finalize>> m_statements; // by literal
};

/// One transaction. The first failure is kept: whatever is asked after it does nothing and finds nothing, so
/// one look at the end is enough. Undone at the end of its life unless `finish` gave no error.
class Work {
public:
    enum class Kind { read, write };

    Work(Connection& connection, Kind kind);
    ~Work();
    Work(const Work&) = delete;
    Work& operator=(const Work&) = delete;

    template <typename... Values> [[nodiscard]] Query query(const char* text, const Values&... values);

    /// A query whose rows do not matter.
    template <typename... Values> void run(const char* text, const Values&... values);

    void fail(Error error);
    [[nodiscard]] bool failed() const { return m_error.has_value(); }

    /// Commits, or undoes where anything failed.
    [[nodiscard]] std::expected<void, Error> finish();

private:
    friend class Query;

    Connection& m_connection;
    std::optional<Error> m_error;
    bool m_begun = false;
};

/// Bytes that are no text.
struct Blob {
    std::string_view bytes;
};

/// A statement at work. Columns are counted from 0 and may be read after `next` was true, until the next one.
class Query {
public:
    /// `text` must be a literal and not be at work already. Texts and blobs must outlive the query.
    template <typename... Values>
    Query(Work& work, const char* text, const Values&... values)
        : Query(work, text, Prepared{}) {
        (bind(values), ...);
    }
    ~Query();
    Query(const Query&) = delete;
    Query& operator=(const Query&) = delete;

    // The next value.
    void bind(std::int64_t value);
    void bind(double value);
    void bind(std::string_view text);
    void bind(const std::string& text) { bind(std::string_view(text)); }
    void bind(const Blob& blob);
    void bind(std::nullopt_t);
    template <std::same_as<bool> Bool> void bind(Bool value) { // else a pointer would be one
        bind(static_cast<std::int64_t>(value));
    }
    template <typename T> void bind(const std::optional<T>& value) {
        if (value)
            bind(*value);
        else
            bind(std::nullopt);
    }

    /// Whether there is a further row; false as well where anything has failed.
    [[nodiscard]] bool next();

    /// For a statement without rows.
    void run() {
        while (next()) {
        }
    }

    [[nodiscard]] bool isNull(int column) const;
    [[nodiscard]] std::int64_t integer(int column) const;
    [[nodiscard]] double real(int column) const;
    [[nodiscard]] std::string_view bytes(int column) const; // of a text or a blob, exactly; gone at `next`
    [[nodiscard]] std::string text(int column) const { return std::string(bytes(column)); }
    [[nodiscard]] std::optional<std::string> optionalText(int column) const;

private:
    struct Prepared {};
    Query(Work& work, const char* text, Prepared);

    void check(int result);

    Work& m_work;
    sqlite3_stmt* m_statement = nullptr; // the connection's; nothing where the work has failed before
    int m_bound = 0;
};

template <typename... Values> Query Work::query(const char* text, const Values&... values) {
    return Query(*this, text, values...);
}

template <typename... Values> void Work::run(const char* text, const Values&... values) {
    Query(*this, text, values...).run();
}

} // namespace vesto::sqlite
