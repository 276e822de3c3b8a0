#include "app/model/Notifier.h"

#include "core/files/FileName.h"
#include "core/support/Text.h"

#include <fmt/format.h>

namespace vesto {

std::string proposedNameOf(const Proposal& proposal) {
    return proposal.policy.fileName(proposal.baseName, extensionOf(lastComponentOf(proposal.url)));
}

Notification notificationOf(const PendingProposal& pending) {
    return {.identifier = pending.proposal.id,
            .title = proposedNameOf(pending.proposal),
            .subtitle = fmt::format("{}« {} »", text("au lieu de "), lastComponentOf(pending.proposal.url)),
            .category = "proposal",
            .thread = "proposals",
            .infoKey = "proposal"};
}

Notification notificationOf(const RenameRecord& record) {
    return {.identifier = record.id,
            .title = record.newName,
            .subtitle = record.originalName,
            .category = "renamed",
            .thread = "renamed",
            .infoKey = "record"};
}

std::vector<NotificationAction> notificationActions(std::string_view category) {
    if (category == "proposal")
        return {{.identifier = "accept", .title = text("Accepter")},
                {.identifier = "edit",
                 .title = text("Modifier"),
                 .takesText = true,
                 .sendTitle = text("Renommer"),
                 .placeholder = text("Titre")},
                {.identifier = "ignore", .title = text("Ignorer")}};
    if (category == "renamed")
        return {{.identifier = "undo", .title = text("Annuler")}};
    return {};
}

} // namespace vesto
