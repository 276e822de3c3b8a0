#include "app/model/Identifiers.h"

#include "core/support/Text.h"

#include <fmt/format.h>

#include <algorithm>
#include <iterator>

namespace vesto {
namespace {

constexpr std::size_t shortestPrefix = 4; // characters

} // namespace

bool isIDPrefix(std::string_view word) {
    return word.size() >= shortestPrefix &&
           word.find_first_not_of("0123456789abcdefABCDEF-") == std::string_view::npos;
}

std::string idPrefix(std::string_view word) {
    if (!isIDPrefix(word))
        return {};
    std::string prefix(word);
    for (char& letter : prefix)
        if (letter >= 'A' && letter <= 'F')
            letter = static_cast<char>(letter - 'A' + 'a');
    return prefix;
}

std::expected<std::string, std::string> idNamedBy(std::string_view word,
                                                  const std::vector<std::string>& ids) {
    const std::string prefix = idPrefix(word);
    if (prefix.empty())
        return std::unexpected(
            std::string(text("Un identifiant est attendu : au moins ses quatre premiers caractères.")));
    const auto begins = [&](const std::string& id) { return id.starts_with(prefix); };
    const auto found = std::ranges::find_if(ids, begins);
    if (found == ids.end())
        return std::unexpected(fmt::format("{} « {} ».", text("Rien ne porte l'identifiant"), prefix));
    if (std::ranges::find_if(std::next(found), ids.end(), begins) != ids.end())
        return std::unexpected(fmt::format("{} « {} »{}", text("Plusieurs identifiants commencent par"),
                                           prefix, text(" : donnez-en davantage.")));
    return *found;
}

} // namespace vesto
