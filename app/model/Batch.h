#pragma once
#include "core/naming/Proposal.h"
#include "core/support/Uuid.h"

#include <cstddef>
#include <filesystem>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace vesto {

/// The analysis of the files that a folder held already. Plain data; the application model drives it.
struct Batch {
    struct Proposed {
        bool operator==(const Proposed&) const = default;
    };
    struct Renamed {
        std::string newName;
        bool operator==(const Renamed&) const = default;
    };
    struct Failed {
        std::string message;
        bool operator==(const Failed&) const = default;
    };

    struct Item {
        Proposal proposal; // its id is the item's
        std::string title; // editable; at first the proposal's
        bool selected = false;
        std::variant<Proposed, Renamed, Failed> state;

        [[nodiscard]] bool isProposed() const { return std::holds_alternative<Proposed>(state); }
        bool operator==(const Item&) const = default;
    };

    std::string id = randomUuid();
    std::string folderName; // for people
    std::filesystem::path url;
    bool isListing = true;                          // the folder is being looked through: no number is final
    bool isRenaming = false;                        // what was selected is being renamed
    bool isUndoing = false;                         // what was renamed is being undone
    std::size_t total = 0;                          // files sent to analysis
    std::size_t analysed = 0;                       // of these, dealt with
    std::vector<Item> items{};                      // in the order in which their analyses ended
    std::vector<std::filesystem::path> wellNamed{}; // left out, their names say enough
    std::vector<std::filesystem::path> noTitleBefore{}; // an earlier pass found no title
    std::size_t alreadyDone = 0;                        // renamed, undone or ignored before
    std::size_t notLocal = 0;
    std::size_t subfolders = 0; // visible ones
    std::size_t noTitle = 0;    // analysed now, without a proposal

    [[nodiscard]] bool isAnalysing() const { return isListing || analysed < total; }
    [[nodiscard]] std::size_t selectedCount() const; // selected and still proposed
    [[nodiscard]] Item* item(std::string_view proposalID);
};

/// Which files are asked for again.
enum class AlsoAnalyse { wellNamed, noTitleBefore };

/// A line that says how many files were left out, and why.
struct BatchLine {
    enum class Counter { wellNamed, noTitleBefore, noTitle, alreadyDone, notLocal, subfolders };
    Counter counter = Counter::wellNamed;
    std::size_t count = 0;
    std::string text; // whole, as "Nom déjà parlant : 3 fichiers"

    bool operator==(const BatchLine&) const = default;
};

/// The lines of the counters that are not zero, in their fixed order.
[[nodiscard]] std::vector<BatchLine> batchLines(const Batch& batch);

/// "Analyse en cours…", that there is nothing to rename, or nothing.
[[nodiscard]] std::string_view batchStatus(const Batch& batch);

/// "Fichiers existants de « NAME »".
[[nodiscard]] std::string batchTitle(const Batch& batch);

/// "1 fichier", "2 fichiers".
[[nodiscard]] std::string fileCount(std::size_t count);

} // namespace vesto
