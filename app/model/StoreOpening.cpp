#include "app/model/StoreOpening.h"

#include "app/model/StoreFailure.h"
#include "app/model/StoreFile.h"
#include "app/model/StoreSchema.h"
#include "core/files/FileName.h"
#include "core/files/RemoteFolder.h"

#include <cstdint>
#include <cstdlib>
#include <optional>
#include <utility>

namespace vesto {
namespace {

using sqlite::Error;
using std::filesystem::path;
using StoreFailure::Damage;

/// A new file, empty and whole.
std::expected<void, StoreError> make(const path& file) {
    const auto made = StoreFile::makeBeside(file);
    if (!made)
        return std::unexpected(StoreFailure::ofSystem(file, made.error()));
    auto filled = [&]() -> std::expected<void, Error> {
        auto connection = sqlite::Connection::open(*made);
        if (!connection)
            return std::unexpected(std::move(connection).error());
        return StoreSchema::bringUpToDate(*connection, 0);
    }();
    if (!filled) {
        StoreFile::discard(*made);
        return std::unexpected(StoreFailure::ofSqlite(file, filled.error()));
    }
    if (const auto placed = StoreFile::putInPlace(*made, file); !placed)
        return std::unexpected(StoreFailure::ofSystem(file, placed.error()));
    return {};
}

/// What is wrong with a file that is there. Nothing is written before it is known to be ours.
struct Finding {
    std::optional<Error> error;
    Damage damage = Damage::unreadable; // where there is no error, or one of the file's own
};

std::optional<Finding> prepare(sqlite::Connection& connection, const path& file) {
    const auto number = [&](const char* statement) -> std::expected<std::int64_t, Error> {
        const auto answer = connection.answer(statement);
        if (!answer)
            return std::unexpected(answer.error());
        return std::strtoll(answer->value_or("").c_str(), nullptr, 10);
    };
    const auto id = number("PRAGMA application_id");
    if (!id)
        return Finding{id.error()};
    const auto version = number("PRAGMA user_version");
    if (!version)
        return Finding{version.error()};
    if (*id != StoreSchema::applicationId)
        return Finding{std::nullopt, *id == 0 ? Damage::unreadable : Damage::foreign};
    if (*version > StoreSchema::version)
        return Finding{std::nullopt, Damage::newer};
    if (*version < 1)
        return Finding{};
    if (const auto updated = StoreSchema::bringUpToDate(connection, *version); !updated)
        return Finding{updated.error()};
    if (const auto checked = StoreSchema::check(connection); !checked)
        return Finding{checked.error()};
    if (!connection.isReadOnly()) {
        // Between machines a write-ahead log cannot be shared.
        const auto mode = connection.answer(isRemoteFolder(folderOf(file)) ? "PRAGMA journal_mode=DELETE"
                                                                           : "PRAGMA journal_mode=WAL");
        if (!mode)
            return Finding{mode.error()};
    }
    return std::nullopt;
}

} // namespace

std::expected<sqlite::Connection, StoreError> openStoreFile(const path& file) {
    const auto presence = StoreFile::look(file);
    if (!presence)
        return std::unexpected(StoreFailure::ofSystem(file, presence.error()));
    if (*presence == StoreFile::Presence::incomplete)
        return std::unexpected(StoreFailure::ofDamage(file, Damage::incomplete));
    if (*presence == StoreFile::Presence::missing)
        if (auto made = make(file); !made)
            return std::unexpected(std::move(made).error());
    StoreFile::makePrivate(file);
    auto connection = sqlite::Connection::open(file);
    std::optional<Finding> finding = connection ? prepare(*connection, file) : Finding{connection.error()};
    if (finding) {
        if (connection)
            connection->abandon();
        // A statement that SQLite cannot even understand: what it speaks of is not there.
        if (finding->error && !finding->error->isDamage() && !finding->error->isMissingPart())
            return std::unexpected(StoreFailure::ofSqlite(file, *finding->error));
        return std::unexpected(StoreFailure::ofDamage(file, finding->damage));
    }
    return *std::move(connection);
}

} // namespace vesto
