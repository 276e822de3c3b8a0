#pragma once
#include <string>
#include <string_view>

namespace vesto::unicode {

/// A word that is looked for in names: letter case aside, by the rules of a language (in Turkish and Azeri I
/// belongs to ı and İ to i), and whether letters are composed or not. Accents tell letters apart as they do
/// in French, so «ete» does not find «été»; apostrophes of every form are one, since a keyboard has the
/// straight one only. A letter is found with all its marks or not at all.
///
/// Takes any bytes, as all of `Unicode.h`. Immutable and thread-safe.
class CaselessSearch {
public:
    CaselessSearch(std::string_view word, std::string_view languageCode);

    [[nodiscard]] bool matches(std::string_view text) const;

    /// What can be stored of a text for all languages: wherever a word matches a text, the word's key is a
    /// substring of the text's key. The reverse does not hold.
    [[nodiscard]] static std::string keyOf(std::string_view text);

private:
    bool m_turkic;
    std::string m_folded;
};

} // namespace vesto::unicode
