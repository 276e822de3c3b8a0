#pragma once
#include "core/files/FileName.h"
#include "tests/app/support/Life.h"

#include <algorithm>
#include <filesystem>
#include <optional>
#include <string>
#include <variant>

namespace vesto {

/// What became of something that the user asked for.
struct Outcome {
    bool wasTried = false;           // it came to a rename
    std::optional<std::string> name; // that the file has got
    std::string message{};           // where it has none
};

/// Something that a user asks for, of one file.
struct Deed {
    const char* name;
    enum class Of { anyFile, proposal, renamedFile } of;
    Outcome (*act)(Life& life, const std::filesystem::path& file);
};

inline Outcome outcomeOf(const Life::Answer& answer, std::string RenameRecord::* name) {
    if (!answer)
        return {.wasTried = false, .name = {}, .message = "no answer came"};
    if (!*answer)
        return {.wasTried = true, .name = {}, .message = answer->error()};
    return {.wasTried = true, .name = (**answer).*name};
}

inline Outcome nameFile(Life& life, const std::filesystem::path& file) {
    std::optional<NamingAnswer> told;
    life.model().name({.path = file}, [&](const NamingAnswer& answer) { told = answer; });
    (void)life.runUntil([&] { return told.has_value(); });
    if (!told || !told->rename)
        return {.wasTried = false, .name = {}, .message = "nothing to rename"};
    return outcomeOf(told->rename, &RenameRecord::newName);
}

inline Outcome acceptProposal(Life& life, const std::filesystem::path& file) {
    const auto pending = std::ranges::find(
        life.model().pending(), file, [](const PendingProposal& waiting) { return waiting.proposal.url; });
    if (pending == life.model().pending().end())
        return {.wasTried = false, .name = {}, .message = "no proposal"};
    const std::string id = pending->proposal.id;
    return outcomeOf(life.ask([&](auto done) { life.model().accept(id, std::move(done)); }),
                     &RenameRecord::newName);
}

inline Outcome undoRename(Life& life, const std::filesystem::path& file) {
    const auto row = life.store().doneAt(file).value();
    if (!row)
        return {.wasTried = false, .name = {}, .message = "no row"};
    return outcomeOf(life.ask([&](auto done) { life.model().undo(row->id, std::move(done)); }),
                     &RenameRecord::originalName);
}

/// The file's folder as a batch.
inline Outcome renameBatch(Life& life, const std::filesystem::path& file) {
    auto& model = life.model();
    model.startBatch(folderOf(file));
    (void)life.runUntil([&] { return !model.batch()->isAnalysing(); });
    (void)life.await([&](const auto& done) { model.renameSelected(done); });
    Outcome outcome{.wasTried = false, .name = {}, .message = "nothing to rename"};
    if (!model.batch()->items.empty()) {
        const auto& state = model.batch()->items.front().state;
        const auto* renamed = std::get_if<Batch::Renamed>(&state);
        const auto* failed = std::get_if<Batch::Failed>(&state);
        outcome = {.wasTried = true,
                   .name = renamed == nullptr ? std::nullopt : std::optional(renamed->newName),
                   .message = failed == nullptr ? std::string() : failed->message};
    }
    model.closeBatch();
    return outcome;
}

inline constexpr Deed deeds[] = {
    {"rename", Deed::Of::anyFile, nameFile},
    {"batch", Deed::Of::anyFile, renameBatch},
    {"undo", Deed::Of::renamedFile, undoRename},
};
inline constexpr Deed acceptance{"accept", Deed::Of::proposal, acceptProposal};

} // namespace vesto
