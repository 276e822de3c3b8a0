#pragma once
#include "core/files/FileIdentity.h"
#include "core/naming/ConfidenceScorer.h"
#include "core/support/Time.h"
#include "core/support/Uuid.h"

#include <optional>
#include <string>

namespace vesto {

/// One rename of the history.
struct RenameRecord {
    enum class Status {
        pending, // written down, not yet done
        done,
        undone,
        failed, // interrupted, and not done
    };

    std::string id = randomUuid();
    Instant date;           // of the attempt
    std::string folderPath; // bytes, as every path
    std::string originalName;
    std::string newName; // the target; once done the name that the file has got
    FileIdentity identity;
    Status status = Status::pending;
    ConfidenceScorer::Source source = ConfidenceScorer::Source::fallback;
    double confidence = 0;  // 0 to 1
    bool automatic = false; // without the user
    std::optional<std::string> errorMessage;
    std::optional<std::string> batchID;
    /// An undo is under way, written down before it is tried; or a hidden name of the file was left. Either
    /// is for the next start.
    bool undoing = false;

    bool operator==(const RenameRecord&) const = default;
};

} // namespace vesto
