#include "cli/Report.h"

#include "cli/Messages.h"
#include "core/naming/NameTemplate.h"
#include "core/support/Text.h"

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include <ostream>

namespace vesto::cli {

void Report::folders(const Targets& targets) {
    for (const auto& folder : targets.unreadable)
        nothingIn(folder, text("Ce dossier n'a pas pu être lu en entier. Vérifiez ses droits d'accès."));
    for (const auto& folder : targets.empty)
        nothingIn(folder, text("Aucun fichier dans ce dossier."));
}

void Report::nothingIn(const std::filesystem::path& folder, std::string_view reason) {
    Json record;
    record["path"] = folder.native();
    record["outcome"] = "nothing";
    record["reason"] = reason;
    refused(folder, reason, record);
}

void Report::done(const std::filesystem::path& before, std::string_view after, std::string_view more,
                  const Json& record) {
    if (m_json) {
        m_out << writeJson(record) << '\n' << std::flush;
        return;
    }
    m_out << shownName(before) << " → " << printable(after) << '\n';
    if (!more.empty())
        m_out << "    " << more << '\n';
    m_out.flush();
}

void Report::changed(const std::filesystem::path& path, std::string_view what, std::string_view more,
                     const Json& record) {
    if (m_json) {
        m_out << writeJson(record) << '\n' << std::flush;
        return;
    }
    m_out << printable(path.native()) << " : " << what << '\n';
    if (!more.empty())
        m_out << "    " << more << '\n';
    m_out.flush();
}

void Report::refused(const std::filesystem::path& path, std::string_view reason, const Json& record,
                     std::string_view advice) {
    m_status = ExitStatus::notAllDone;
    if (m_json) {
        m_out << writeJson(record) << '\n' << std::flush;
        return;
    }
    m_out << shownName(path) << " : " << printable(reason) << '\n';
    if (!advice.empty())
        m_out << "    " << advice << '\n';
    m_out.flush();
}

bool Report::heard() const {
    return m_out.good();
}

std::string evidenceOf(const Proposal& proposal) {
    std::string kind(NameTemplate::kindWord(proposal.summary.kind, Locale{"fr"}));
    if (proposal.summary.formatName)
        kind += fmt::format(" ({})", printable(*proposal.summary.formatName));
    return fmt::format("{}, {}, confiance {}", kind, sourceWords(proposal.source),
                       percentage(proposal.confidence));
}

} // namespace vesto::cli
