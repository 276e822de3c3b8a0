#include "core/naming/CaselessWord.h"

namespace vesto {

std::optional<std::size_t> skipCaselessWord(std::string_view text, std::size_t offset,
                                            std::string_view word) {
    constexpr std::string_view longS = "ſ"; // folds to "s"
    for (const char letter : word) {
        if (offset >= text.size())
            return std::nullopt;
        const char byte = text[offset];
        if (byte == letter || (letter >= 'a' && letter <= 'z' && byte == letter - 'a' + 'A'))
            offset += 1;
        else if (letter == 's' && text.substr(offset).starts_with(longS))
            offset += longS.size();
        else
            return std::nullopt;
    }
    return offset;
}

} // namespace vesto
