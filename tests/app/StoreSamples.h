#pragma once
#include "app/model/PendingProposal.h"
#include "app/model/RenameRecord.h"

#include <string>
#include <string_view>

namespace vesto {

inline Instant at(int second) {
    return referenceDate + std::chrono::seconds(second) + std::chrono::microseconds(123'457);
}

inline FileIdentity identity(std::uint64_t inode) {
    return {.device = 42,
            .inode = inode,
            .birth = FileTime{1'700'000'000, 5},
            .name = {},
            .volume = {},
            .state = FileState{10, {1'700'000'001, 6}}};
}

inline RenameRecord record(std::string_view newName, int second) {
    RenameRecord record;
    record.date = at(second);
    record.folderPath = "/home/marie/Documents";
    record.originalName = "scan0001.pdf";
    record.newName = newName;
    record.identity = identity(static_cast<std::uint64_t>(second));
    record.confidence = 0.55;
    return record;
}

inline PendingProposal proposal() {
    PendingProposal pending;
    pending.folderID = "folder";
    pending.proposal.id = randomUuid();
    pending.proposal.url = "/home/marie/\xFF scan.pdf";
    pending.proposal.identity = identity(9);
    pending.proposal.title = "Facture d’eau";
    pending.proposal.baseName = "2026-03-14 Facture d’eau";
    pending.proposal.confidence = 1.0 / 3;
    pending.proposal.summary.lines = {"Facture", "d’eau"};
    pending.proposal.summary.date = at(5);
    return pending;
}

} // namespace vesto
