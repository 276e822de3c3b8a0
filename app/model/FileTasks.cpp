#include "app/model/FileTasks.h"

#include "core/files/FileName.h"
#include "core/files/UndoService.h"

#include <algorithm>
#include <system_error>
#include <utility>

namespace vesto::FileTasks {

using FileEligibility::Rejection;
using ProcessedMarker::State;

namespace {

bool wasSkipped(const std::filesystem::path& path, Disk& disk) {
    const auto marker = ProcessedMarker::read(path, disk);
    return marker && marker->state == State::skipped;
}

/// Every entry but "." and "..", by its bytes; nothing where the folder cannot be listed.
std::optional<std::vector<std::filesystem::path>> entriesOf(const std::filesystem::path& folder) {
    std::error_code error;
    std::filesystem::directory_iterator entry(folder, error);
    if (error)
        return std::nullopt;
    std::vector<std::filesystem::path> entries;
    for (const std::filesystem::directory_iterator end; entry != end && !error; entry.increment(error))
        entries.push_back(entry->path());
    if (error)
        return std::nullopt; // a part is not the folder
    std::ranges::sort(entries, {}, &std::filesystem::path::native);
    return entries;
}

void classify(const std::filesystem::path& path, const FileEligibility::Options& options, Listing& listing,
              Disk& disk) {
    const auto rejection = FileEligibility::check(path, options, disk);
    if (!rejection) {
        listing.eligible.push_back(path);
        return;
    }
    std::error_code ignored;
    switch (*rejection) {
    case Rejection::notRegularFile:
        if (std::filesystem::symlink_status(path, ignored).type() == std::filesystem::file_type::directory)
            ++listing.subfolders;
        break;
    case Rejection::processed:
        if (wasSkipped(path, disk))
            listing.noTitleBefore.push_back(path);
        else
            ++listing.alreadyDone;
        break;
    case Rejection::notGeneric:
        listing.wellNamed.push_back(path);
        break;
    case Rejection::notLocal:
        ++listing.notLocal;
        break;
    case Rejection::missing:
    case Rejection::hidden:
    case Rejection::temporary:
    case Rejection::unsupported:
    case Rejection::tooOld:
    case Rejection::locked:
        break;
    }
}

} // namespace

Examination examine(const std::filesystem::path& path, FileEligibility::Options options, bool skippedToo,
                    Disk& disk) {
    auto rejection = FileEligibility::check(path, options, disk);
    if (rejection == Rejection::processed && skippedToo && wasSkipped(path, disk)) {
        options.includeProcessed = true;
        rejection = FileEligibility::check(path, options, disk);
    }
    if (rejection)
        return {rejection, std::nullopt};
    return {std::nullopt, FileIdentity::of(path, disk)};
}

void lookAt(std::vector<EarlyLook>& files, Disk& disk, const Clock& clock) {
    for (EarlyLook& file : files)
        if (const auto identity = FileIdentity::of(file.path, disk); identity && identity->state)
            file.look = FileStabilizer::Look{*identity->state, clock.sinceBoot()};
}

std::string freeName(const std::filesystem::path& path, std::string_view baseName, const NamingPolicy& policy,
                     std::size_t namesakes, Disk& disk) {
    constexpr std::int64_t mostTries = 99; // as many as the rename makes
    const std::string_view current = lastComponentOf(path);
    const std::string base = NamingPolicy::sanitizeFileName(baseName);
    std::string name = policy.fileName(base, extensionOf(current));
    for (std::int64_t number = 2; number <= mostTries + 1; ++number) {
        if (isSameName(name, current))
            return name;
        const auto found = disk.status(siblingOf(path, name));
        if (!found && namesakes-- == 0)
            return name; // free, or nobody can tell
        name = policy.fileName(base, extensionOf(current), number);
    }
    return policy.fileName(base, extensionOf(current)); // all of them are taken
}

Marked mark(const std::filesystem::path& path, const FileIdentity& expected, State state, Disk& disk,
            const Clock& clock) {
    auto current = FileIdentity::of(path, disk);
    if (!current || *current != expected)
        return {};
    const bool marked =
        ProcessedMarker::write(path, state, lastComponentOf(path), clock.now(), disk).has_value();
    return {std::move(current), marked};
}

std::expected<Restored, RenameError> restore(const std::filesystem::path& path, std::string_view originalName,
                                             const FileIdentity& expected, Disk& disk, const Clock& clock) {
    auto undone = UndoService(disk, clock).undo(path, originalName, expected);
    if (!undone)
        return std::unexpected(std::move(undone).error());
    const auto marker = ProcessedMarker::read(undone->to, disk);
    auto identity = FileIdentity::of(undone->to, disk);
    return Restored{std::move(undone->to), std::move(identity), marker && marker->state == State::undone,
                    undone->leftover};
}

Listing list(const std::filesystem::path& folder, FileEligibility::Options options, Disk& disk,
             const std::stop_token& stop) {
    Listing listing;
    const auto entries = entriesOf(folder);
    listing.isAccessible = entries.has_value();
    for (const std::filesystem::path& path : entries.value_or(std::vector<std::filesystem::path>())) {
        if (stop.stop_requested())
            break;
        if (!lastComponentOf(path).starts_with('.'))
            classify(path, options, listing, disk);
    }
    return listing;
}

} // namespace vesto::FileTasks
