#include "app/model/BatchCommand.h"
#include "app/model/Commands.h"
#include "app/model/Identifiers.h"
#include "app/model/ModelRecords.h"
#include "app/model/RenamedFiles.h"
#include "core/files/FileName.h"
#include "core/files/FileURL.h"
#include "core/support/Text.h"
#include "core/support/Unicode.h"

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include <algorithm>

namespace vesto {
namespace {

/// Takes the language that an order names, if it names one; false where that makes no sense.
bool takeLocale(const Json& order, std::optional<Locale>& locale) {
    constexpr std::size_t longest = 64; // characters; far more than any has
    const auto name = stringMember(order, "locale");
    if (name && (name->size() > longest || !unicode::isValid(*name)))
        return false;
    if (name)
        locale = Locale{*name};
    return true;
}

/// What an order says of names; nothing where it makes no sense.
std::optional<NamingOrder> namingOrderIn(const Json& order) {
    const auto url = stringMember(order, "url");
    const auto path = url ? pathOfFileURL(*url) : std::nullopt;
    if (!path)
        return std::nullopt;
    NamingOrder result{.path = *path,
                       .genericOnly = boolMember(order, "genericOnly").value_or(false),
                       .again = boolMember(order, "again").value_or(false),
                       .minConfidence = numberMember(order, "minConfidence")};
    if (const auto pattern = stringMember(order, "template")) {
        result.nameTemplate = NameTemplate{*pattern};
        if (!result.nameTemplate->validate())
            return std::nullopt;
    }
    if (!takeLocale(order, result.locale))
        return std::nullopt;
    return result;
}

std::string storeReason(const StoreError& error) {
    return fmt::format("{} {}", text("SwiftData :"), error.description);
}

/// The rows of a run of undoing, one after the other.
class UndoRun : public std::enable_shared_from_this<UndoRun> {
public:
    UndoRun(AppModel& model, Commands::Request request, std::vector<RenameRecord> records)
        : m_model(model)
        , m_request(std::move(request))
        , m_records(std::move(records)) {}

    void next() {
        if (m_request->isOver())
            return; // nobody hears of what would be done
        if (m_at == m_records.size()) {
            m_request->end(m_allDone);
            return;
        }
        const RenameRecord& record = m_records[m_at++];
        m_model.renamedFiles().undo(record, [self = shared_from_this(), before = recordOf(record), &record](
                                                const std::expected<RenameRecord, std::string>& undone) {
            Json line = before;
            const std::filesystem::path folder = record.folderPath;
            line["outcome"] = undone ? "undone" : "error";
            if (undone) {
                line["status"] = "undone";
                line["from"] = (folder / record.newName).native();
                line["to"] = (folder / record.originalName).native();
            } else {
                line["reason"] = undone.error();
                self->m_allDone = false;
            }
            self->m_request->line(line);
            self->next();
        });
    }

private:
    AppModel& m_model;
    Commands::Request m_request;
    std::vector<RenameRecord> m_records;
    std::size_t m_at = 0;
    bool m_allDone = true;
};

void undoAll(AppModel& model, const Commands::Request& request, std::vector<RenameRecord> records) {
    std::make_shared<UndoRun>(model, request, std::move(records))->next();
}

} // namespace

void Commands::prepareModel(const Json& order, const Request& request) {
    std::optional<Locale> locale;
    if (!takeLocale(order, locale)) {
        request->end(false, text("Ordre incompréhensible."));
        return;
    }
    request->line(Json{{"locale", m_model.prepareModel(locale).identifier()}});
    request->end(true);
}

void Commands::rename(const Json& order, const Request& request) {
    const auto naming = namingOrderIn(order);
    if (!naming) {
        request->end(false, text("Ordre incompréhensible."));
        return;
    }
    const auto answer = [request, path = naming->path](const NamingAnswer& given) {
        const Json record = recordOf(path, given);
        request->line(record);
        request->end(member(record, "to") != nullptr);
    };
    if (!unicode::isValid(lastComponentOf(naming->path))) {
        answer({.naming = PipelineOutcome::Nothing{
                    std::string(text("Le nom de ce fichier n'est pas en UTF-8 : Vesto ne le change pas.")),
                    std::nullopt}});
        return;
    }
    m_model.name(*naming, answer);
}

void Commands::undo(const Json& order, const Request& request) {
    const auto undoFound = [&model = m_model,
                            request](const Store::Result<std::optional<RenameRecord>>& found) {
        if (request->isOver())
            return; // nobody hears of what would be done
        if (!found)
            request->end(false, storeReason(found.error()));
        else if (*found)
            undoAll(model, request, {**found});
        else
            request->end(Json{{"done", false},
                              {"unknown", true},
                              {"reason", text("Rien à annuler : l'historique n'en sait rien.")}});
    };
    const Store& store = m_model.store();
    if (const auto url = stringMember(order, "url")) {
        if (const auto path = pathOfFileURL(*url))
            m_model.renamedFiles().find(*path, undoFound);
        else
            request->end(false, text("Ordre incompréhensible."));
    } else if (boolMember(order, "last").value_or(false)) {
        undoFound(store.lastDone());
    } else {
        const std::string word = stringMember(order, "id").value_or("");
        const auto ids = store.recordIDs(idPrefix(word));
        if (!ids) {
            request->end(false, storeReason(ids.error()));
            return;
        }
        const auto id = idNamedBy(word, *ids);
        if (!id) {
            request->end(false, id.error());
            return;
        }
        undoFound(store.record(*id));
    }
}

void Commands::undoBatch(const Json& order, const Request& request) {
    const Store& store = m_model.store();
    const std::string word = stringMember(order, "id").value_or("");
    const auto ids = store.batchIDs(idPrefix(word));
    const auto id = ids ? idNamedBy(word, *ids) : std::expected<std::string, std::string>();
    auto records = id ? store.batch(*id) : Store::Result<std::vector<RenameRecord>>();
    if (!ids || !records) {
        request->end(false, storeReason(!ids ? ids.error() : records.error()));
        return;
    }
    if (!id) {
        request->end(false, id.error());
        return;
    }
    std::erase_if(*records,
                  [](const RenameRecord& record) { return record.status != RenameRecord::Status::done; });
    if (records->empty())
        request->end(false, text("Ce lot est déjà annulé."));
    else
        undoAll(m_model, request, *std::move(records));
}

void Commands::batch(const Json& order, const Request& request) {
    const auto url = stringMember(order, "url");
    const auto path = url ? pathOfFileURL(*url) : std::nullopt;
    if (!path) {
        request->end(false, text("Ordre incompréhensible."));
        return;
    }
    BatchCommand::Order wanted{.folder = *path,
                               .apply = boolMember(order, "apply").value_or(false),
                               .minConfidence = numberMember(order, "minConfidence")};
    if (boolMember(order, "wellNamed").value_or(false))
        wanted.also.push_back(AlsoAnalyse::wellNamed);
    if (boolMember(order, "noTitleBefore").value_or(false))
        wanted.also.push_back(AlsoAnalyse::noTitleBefore);
    BatchCommand::begin(m_model, request, std::move(wanted));
}

} // namespace vesto
