#include "services/model/Prompt.h"

#include "core/naming/LanguageModel.h"
#include "core/support/Json.h"

#include <nlohmann/json.hpp>

#include <array>
#include <limits>

namespace vesto::model {
namespace {

constexpr std::string_view place = "(((vesto)))"; // where a document's text comes to stand
constexpr std::string_view opening = R"({"title":")";

/// What the answer has to be, behind the instructions.
std::string withSchema(std::string_view instructions) {
    const Json schema{
        {"type", "object"},
        {"properties", {{"title", {{"type", "string"}, {"description", ProposedName::guide}}}}},
        {"required", {"title"}},
    };
    return std::string(instructions) +
           "\n\nAnswer with one JSON object that follows this schema, and with nothing else:\n" +
           writeJson(schema);
}

/// The conversation as text; nothing where the engine does not know the template.
std::optional<std::string> conversation(const char* chatTemplate, const std::string& instructions) {
    const std::string user(place);
    const std::array messages{llama_chat_message{"system", instructions.c_str()},
                              llama_chat_message{"user", user.c_str()}};
    std::string text(2 * instructions.size() + 4096, '\0');
    const std::int32_t size = llama_chat_apply_template(chatTemplate, messages.data(), messages.size(), true,
                                                        text.data(), static_cast<std::int32_t>(text.size()));
    if (size <= 0 || static_cast<std::size_t>(size) > text.size())
        return std::nullopt;
    text.resize(static_cast<std::size_t>(size));
    const std::size_t first = text.find(place);
    if (first == std::string::npos || text.find(place, first + 1) != std::string::npos ||
        text.find(instructions) > first)
        return std::nullopt;
    return text;
}

std::optional<Tokens> tokens(const llama_vocab& vocabulary, std::string_view text, bool begins,
                             bool special) {
    if (text.size() > std::numeric_limits<std::int32_t>::max() / 2)
        return std::nullopt;
    const auto bytes = static_cast<std::int32_t>(text.size());
    Tokens result(text.size() + 8);
    std::int32_t count = llama_tokenize(&vocabulary, text.data(), bytes, result.data(),
                                        static_cast<std::int32_t>(result.size()), begins, special);
    if (count < 0 && count != std::numeric_limits<std::int32_t>::min()) {
        result.resize(static_cast<std::size_t>(-count));
        count = llama_tokenize(&vocabulary, text.data(), bytes, result.data(), -count, begins, special);
    }
    if (count < 0)
        return std::nullopt;
    result.resize(static_cast<std::size_t>(count));
    return result;
}

} // namespace

std::optional<Frame> makeFrame(const llama_model& model, std::string_view instructions) {
    const std::string system = withSchema(instructions);
    std::optional<std::string> text;
    if (const char* own = llama_model_chat_template(&model, nullptr); own != nullptr)
        text = conversation(own, system);
    if (!text)
        text = conversation("chatml", system);
    if (!text)
        return std::nullopt;
    const llama_vocab& vocabulary = *llama_model_get_vocab(&model);
    const std::size_t middle = text->find(place);
    auto before = tokens(vocabulary, std::string_view(*text).substr(0, middle), true, true);
    auto after = tokens(vocabulary, text->substr(middle + place.size()).append(opening), false, true);
    if (!before || !after || after->empty())
        return std::nullopt;
    return Frame{*std::move(before), *std::move(after)};
}

std::optional<Tokens> foreignTokens(const llama_vocab& vocabulary, std::string_view text) {
    return tokens(vocabulary, text, false, false);
}

} // namespace vesto::model
