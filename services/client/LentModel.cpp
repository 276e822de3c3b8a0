#include "services/client/LentModel.h"

#include "core/files/FileURL.h"
#include "core/naming/FoundationNameGenerator.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <array>
#include <limits>

namespace vesto::lent {
namespace {

using Availability = LanguageModel::Availability;
using Code = LanguageModel::Failure::Code;
using namespace std::string_view_literals;

constexpr std::size_t mostLanguages = 1000; // that a model's file lists

// By the numbers of the enumerators.
constexpr std::array availabilities{"available"sv, "deviceNotEligible"sv, "appleIntelligenceNotEnabled"sv,
                                    "modelNotReady"sv, "unavailable"sv};
constexpr std::array obstacles{"none"sv,     "noFile"sv, "refused"sv, "memory"sv,
                               "noEngine"sv, "noJail"sv, "dies"sv};
constexpr std::array ends{"none"sv, "heard"sv, "silence"sv, "late"sv, "failed"sv};
constexpr std::array failures{"cancelled"sv, "unusable"sv, "tooLong"sv, "busy"sv, "engine"sv};

template <class Enumerator, std::size_t count>
std::optional<Enumerator> enumeratorIn(const Json& record, std::string_view key,
                                       const std::array<std::string_view, count>& words) {
    const auto word = stringMember(record, key);
    const auto place = std::ranges::find(words, word.value_or(""));
    if (place == words.end())
        return std::nullopt;
    return static_cast<Enumerator>(place - words.begin());
}

/// At most so many.
std::vector<std::string> wordsIn(const Json& record, std::string_view key, std::size_t most) {
    std::vector<std::string> words;
    if (const Json* list = member(record, key); list != nullptr && list->is_array())
        for (const Json& word : *list)
            if (word.is_string() && words.size() < most)
                words.push_back(word.get<std::string>());
    return words;
}

std::uint32_t countIn(const Json& record, std::string_view key) {
    return static_cast<std::uint32_t>(std::min<std::uint64_t>(unsignedMember(record, key).value_or(0),
                                                              std::numeric_limits<std::uint32_t>::max()));
}

} // namespace

Json stateOrder(const Wanted& wanted) {
    Json order{{"verb", stateVerb}, {"url", fileURL(wanted.file)}};
    if (wanted.instructions)
        order["instructions"] = *wanted.instructions;
    return order;
}

Json titleOrder(const std::filesystem::path& file, const ModelRequest& request) {
    return Json{{"verb", titleVerb},
                {"url", fileURL(file)},
                {"instructions", request.instructions},
                {"prompt", request.prompt},
                {"maxTokens", request.maxTokens}};
}

Json speechOrder(const Recording& recording) {
    return Json{{"verb", speechVerb},
                {"url", fileURL(recording.file)},
                {"samples", recording.samples},
                {"locales", recording.locales},
                {"seconds", recording.timeout.count()}};
}

Json recordOf(const State& state) {
    const auto& facts = state.facts;
    return Json{{"availability", availabilities[static_cast<std::size_t>(state.availability)]},
                {"gettingReady", state.isGettingReady},
                {"obstacle", obstacles[static_cast<std::size_t>(facts.obstacle)]},
                {"name", facts.name},
                {"architecture", facts.architecture},
                {"bytes", facts.bytes},
                {"parameters", facts.parameters},
                {"languages", facts.languages},
                {"titles", facts.titles},
                {"secondsPerTitle", facts.perTitle.count()}};
}

Json recordOf(const Answer& answer) {
    if (!answer.title)
        return Json{{"failure", failures[static_cast<std::size_t>(answer.title.error().code)]},
                    {"message", answer.title.error().message}};
    return Json{{"title", answer.title->title},
                {"tokens", answer.written.tokens},
                {"refusals", answer.written.refusals}};
}

Json recordOf(const Heard& heard) {
    const auto& facts = heard.facts;
    return Json{{"lines", heard.lines},
                {"heard", ends[static_cast<std::size_t>(facts.end)]},
                {"obstacle", obstacles[static_cast<std::size_t>(facts.obstacle)]},
                {"name", facts.name},
                {"language", facts.language},
                {"seconds", facts.took.count()}};
}

std::optional<Wanted> wantedIn(const Json& order) {
    const auto url = stringMember(order, "url");
    const auto file = url ? pathOfFileURL(*url) : std::nullopt;
    auto instructions = stringMember(order, "instructions");
    if (!file || (instructions && instructions->size() > ipc::limits::instructionBytes))
        return std::nullopt;
    return Wanted{*file, std::move(instructions)};
}

std::optional<ModelRequest> requestIn(const Json& order) {
    auto instructions = stringMember(order, "instructions");
    auto prompt = stringMember(order, "prompt");
    const auto maxTokens = integerMember(order, "maxTokens");
    if (!instructions || !prompt || !maxTokens || instructions->size() > ipc::limits::instructionBytes ||
        prompt->size() > ipc::limits::promptBytes)
        return std::nullopt;
    constexpr std::int64_t most = FoundationNameGenerator::maxAnswerTokens;
    return ModelRequest{*std::move(instructions), *std::move(prompt),
                        static_cast<int>(std::clamp<std::int64_t>(*maxTokens, 0, most))};
}

std::optional<Recording> recordingIn(const Json& order) {
    const auto url = stringMember(order, "url");
    const auto file = url ? pathOfFileURL(*url) : std::nullopt;
    const auto samples = unsignedMember(order, "samples");
    const auto seconds = numberMember(order, "seconds");
    if (!file || !samples || !seconds)
        return std::nullopt;
    return Recording{.file = *file,
                     .samples = *samples,
                     .locales = wordsIn(order, "locales", ipc::limits::spokenLanguages),
                     .timeout = Seconds(*seconds)};
}

std::optional<State> stateIn(const Json& record) {
    const auto availability = enumeratorIn<Availability>(record, "availability", availabilities);
    const auto obstacle = enumeratorIn<ModelObstacle>(record, "obstacle", obstacles);
    const auto isGettingReady = boolMember(record, "gettingReady");
    if (!availability || !obstacle || !isGettingReady)
        return std::nullopt;
    State state{.availability = *availability, .isGettingReady = *isGettingReady};
    state.facts.obstacle = *obstacle;
    state.facts.name = stringMember(record, "name").value_or("");
    state.facts.architecture = stringMember(record, "architecture").value_or("");
    state.facts.bytes = unsignedMember(record, "bytes").value_or(0);
    state.facts.parameters = unsignedMember(record, "parameters").value_or(0);
    state.facts.languages = wordsIn(record, "languages", mostLanguages);
    state.facts.titles = countIn(record, "titles");
    state.facts.perTitle = std::chrono::duration<double>(numberMember(record, "secondsPerTitle").value_or(0));
    return state;
}

std::optional<Answer> answerIn(const Json& record) {
    if (auto title = stringMember(record, "title"); title && title->size() <= ipc::limits::titleBytes)
        return Answer{
            .title = ProposedName{*std::move(title)},
            .written = {.tokens = countIn(record, "tokens"), .refusals = countIn(record, "refusals")}};
    const auto code = enumeratorIn<Code>(record, "failure", failures);
    if (!code)
        return std::nullopt;
    return Answer{.title = std::unexpected(
                      LanguageModel::Failure{*code, stringMember(record, "message").value_or("")})};
}

std::optional<Heard> heardIn(const Json& record) {
    const auto end = enumeratorIn<RemoteTranscriber::End>(record, "heard", ends);
    const auto obstacle = enumeratorIn<ModelObstacle>(record, "obstacle", obstacles);
    if (!end || !obstacle)
        return std::nullopt;
    Heard heard{.lines = wordsIn(record, "lines", ipc::limits::spokenLines)};
    heard.facts.end = *end;
    heard.facts.obstacle = *obstacle;
    heard.facts.name = stringMember(record, "name").value_or("");
    heard.facts.language = stringMember(record, "language").value_or("");
    heard.facts.took = Seconds(numberMember(record, "seconds").value_or(0));
    return heard;
}

} // namespace vesto::lent
