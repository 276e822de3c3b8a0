#include "services/client/ModelNotes.h"

#include "core/support/OwnFile.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <iterator>
#include <utility>

namespace vesto {
namespace {

constexpr std::size_t maxBytes = 1 << 20;
constexpr std::uint32_t remembered = 20; // titles that count for the mean

/// The device is left out: its number is another one after a restart.
Json recordOf(const ModelNote& note) {
    return Json{{"inode", note.identity.inode},
                {"bytes", note.identity.bytes},
                {"modified", note.identity.modified},
                {"changed", note.identity.changed},
                {"name", note.name},
                {"architecture", note.architecture},
                {"parameters", note.parameters},
                {"languages", note.languages},
                {"titles", note.titles},
                {"secondsPerTitle", note.perTitle.count()}};
}

bool isOf(const Json& record, const ModelIdentity& identity) {
    return unsignedMember(record, "inode") == identity.inode &&
           unsignedMember(record, "bytes") == identity.bytes &&
           integerMember(record, "modified") == identity.modified &&
           integerMember(record, "changed") == identity.changed;
}

} // namespace

void ModelNote::measured(std::chrono::duration<double> title) {
    const double before = std::min(titles, remembered - 1);
    perTitle = (perTitle * before + title) / (before + 1);
    ++titles;
}

std::optional<ModelNote> ModelNotes::of(std::string_view fileName, const ModelIdentity& identity) const {
    const Json notes = read();
    const Json* record = member(notes, fileName);
    if (record == nullptr || !isOf(*record, identity))
        return std::nullopt;
    ModelNote note{.identity = identity,
                   .name = stringMember(*record, "name").value_or(""),
                   .architecture = stringMember(*record, "architecture").value_or(""),
                   .parameters = unsignedMember(*record, "parameters").value_or(0)};
    if (const Json* languages = member(*record, "languages"); languages != nullptr && languages->is_array())
        for (const Json& language : *languages)
            if (language.is_string())
                note.languages.push_back(language.get<std::string>());
    const double seconds = numberMember(*record, "secondsPerTitle").value_or(0);
    const std::uint64_t titles = unsignedMember(*record, "titles").value_or(0);
    if (seconds > 0 && seconds < 1e6 && titles > 0) {
        note.titles = static_cast<std::uint32_t>(std::min<std::uint64_t>(titles, 1'000'000'000));
        note.perTitle = std::chrono::duration<double>(seconds);
    }
    return note;
}

void ModelNotes::keep(std::string_view fileName, const ModelNote& note) const {
    Json notes = read();
    notes[std::string(fileName)] = recordOf(note);
    write(std::move(notes));
}

void ModelNotes::forget(std::string_view fileName) const {
    Json notes = read();
    if (member(notes, fileName) == nullptr)
        return;
    notes.erase(std::string(fileName));
    write(std::move(notes));
}

Json ModelNotes::read() const {
    const auto content = m_file.empty() ? std::unexpected(0) : readOwnFile(m_file, maxBytes);
    auto notes = content ? parseJson(*content) : std::nullopt;
    return notes && notes->is_object() ? *std::move(notes) : Json::object();
}

void ModelNotes::write(Json notes) const {
    if (m_file.empty())
        return;
    for (auto note = notes.begin(); note != notes.end();) {
        std::error_code error;
        const auto model = m_file.parent_path() / note.key();
        note = std::filesystem::exists(std::filesystem::symlink_status(model, error)) ? std::next(note)
                                                                                      : notes.erase(note);
    }
    static_cast<void>(replaceOwnFile(m_file, writeJson(notes) + '\n'));
}

} // namespace vesto
