#pragma once
#include "core/naming/Proposal.h"

#include <string>

namespace vesto {

/// A name that waits for the user's word.
struct PendingProposal {
    Proposal proposal; // its id is the item's
    std::string folderID;

    [[nodiscard]] const std::string& id() const { return proposal.id; }
    bool operator==(const PendingProposal&) const = default;
};

} // namespace vesto
