#include "app/model/ModelRecords.h"

#include "app/model/StoreRows.h"
#include "core/extraction/SummarizerMessage.h"
#include "core/files/FileURL.h"
#include "core/naming/RecordCodec.h"

#include <nlohmann/json.hpp>

namespace vesto {
namespace {

void setPath(Json& record, const std::filesystem::path& path) {
    record["path"] = path.native();
    record["url"] = fileURL(path);
}

} // namespace

std::string_view rawValue(FolderWatcher::Mode mode) {
    switch (mode) {
    case FolderWatcher::Mode::events:
        return "events";
    case FolderWatcher::Mode::rescanRemote:
        return "rescanRemote";
    case FolderWatcher::Mode::rescanLimited:
        return "rescanLimited";
    }
    return {};
}

std::string_view rawValue(FolderNote::Kind kind) {
    switch (kind) {
    case FolderNote::Kind::missing:
        return "missing";
    case FolderNote::Kind::notFolder:
        return "notFolder";
    case FolderNote::Kind::alreadyWatched:
        return "alreadyWatched";
    case FolderNote::Kind::insideAnother:
        return "insideAnother";
    case FolderNote::Kind::containsAnother:
        return "containsAnother";
    case FolderNote::Kind::readOnly:
        return "readOnly";
    case FolderNote::Kind::noSafeRename:
        return "noSafeRename";
    case FolderNote::Kind::noAttributes:
        return "noAttributes";
    }
    return {};
}

std::string_view rawValue(BatchLine::Counter counter) {
    switch (counter) {
    case BatchLine::Counter::wellNamed:
        return "wellNamed";
    case BatchLine::Counter::noTitleBefore:
        return "noTitleBefore";
    case BatchLine::Counter::noTitle:
        return "noTitle";
    case BatchLine::Counter::alreadyDone:
        return "alreadyDone";
    case BatchLine::Counter::notLocal:
        return "notLocal";
    case BatchLine::Counter::subfolders:
        return "subfolders";
    }
    return {};
}

Json recordOf(const RenameRecord& record) {
    const bool hasNewName = record.status == RenameRecord::Status::done;
    Json result;
    setPath(result,
            std::filesystem::path(record.folderPath) / (hasNewName ? record.newName : record.originalName));
    result["folderPath"] = record.folderPath;
    result["originalName"] = record.originalName;
    result["newName"] = record.newName;
    result["status"] = StoreRows::rawValue(record.status);
    if (record.id.empty())
        return result; // only the file's mark tells of it, and of no more
    result["id"] = record.id;
    result["date"] = secondsSinceReference(record.date);
    result["source"] = rawValue(record.source);
    result["confidence"] = record.confidence;
    result["automatic"] = record.automatic;
    if (record.errorMessage)
        result["errorMessage"] = *record.errorMessage;
    if (record.batchID)
        result["batchID"] = *record.batchID;
    return result;
}

Json recordOf(const PendingProposal& pending) {
    Json result;
    setPath(result, pending.proposal.url);
    result["outcome"] = "proposal";
    result["id"] = pending.proposal.id;
    result["folderID"] = pending.folderID;
    result["fileName"] = proposedNameOf(pending.proposal);
    result["title"] = pending.proposal.title;
    result["source"] = rawValue(pending.proposal.source);
    result["confidence"] = pending.proposal.confidence;
    return result;
}

Json recordOf(const UnreadableFile& file) {
    Json result;
    setPath(result, file.path);
    result["outcome"] = "unreadable";
    result["folderID"] = file.folderID;
    return result;
}

Json recordOf(const FolderNote& note) {
    Json result;
    result["kind"] = rawValue(note.kind);
    result["message"] = note.message;
    result["error"] = note.isError();
    return result;
}

Json recordOf(const WatchedFolder& folder) {
    Json result;
    setPath(result, folder.path);
    result["id"] = folder.id;
    result["enabled"] = folder.enabled;
    result["automatic"] = folder.automatic;
    result["addedAt"] = secondsSinceReference(folder.addedAt);
    return result;
}

Json recordOf(const std::filesystem::path& path, const NamingAnswer& answer) {
    Json result;
    setPath(result, path);
    if (const auto* rejection = std::get_if<FileEligibility::Rejection>(&answer.naming)) {
        result["outcome"] = "rejected";
        result["reason"] = FileEligibility::rawValue(*rejection);
    } else if (const auto* error = std::get_if<SummarizerError>(&answer.naming)) {
        result["outcome"] = "error";
        result["reason"] = messageOf(*error);
        result["error"] = error->name();
    } else if (const auto& outcome = std::get<PipelineOutcome>(answer.naming); outcome.nothing() != nullptr) {
        result["outcome"] = "nothing";
        result["reason"] = outcome.nothing()->reason;
    } else if (answer.rename && !*answer.rename) {
        result["outcome"] = "error";
        result["reason"] = answer.rename->error();
        if (answer.error) {
            result["error"] = answer.error->name();
            result["code"] = answer.error->code();
        }
    } else {
        const Proposal& proposal = *outcome.proposal();
        result["outcome"] = "proposal";
        result["fileName"] = proposedNameOf(proposal);
        result["proposal"] = toJson(proposal);
        if (answer.rename) {
            const RenameRecord& record = **answer.rename;
            result["id"] = record.id;
            result["from"] = path.native();
            result["to"] = (std::filesystem::path(record.folderPath) / record.newName).native();
            result["marked"] = answer.marked;
        }
    }
    return result;
}

} // namespace vesto
