#include "core/support/UnicodeLanguages.h"

#include <unicode/uloc.h>
#include <unicode/unistr.h>

#include <array>

namespace vesto::unicode {

std::optional<std::string> englishLanguageName(const std::string& code) {
    if (code.empty())
        return std::nullopt; // ICU would name the language of the process
    std::array<UChar, 128> name{};
    UErrorCode status = U_ZERO_ERROR;
    const std::int32_t size = uloc_getDisplayLanguage(code.c_str(), "en", name.data(),
                                                      static_cast<std::int32_t>(name.size()), &status);
    // A code without a name is given back as it is, with a warning.
    if (U_FAILURE(status) || status == U_USING_DEFAULT_WARNING || size <= 0)
        return std::nullopt;
    std::string result;
    icu::UnicodeString(name.data(), size).toUTF8String(result);
    return result;
}

std::string languageCodeOf(const std::string& identifier) {
    std::array<char, 16> code{};
    UErrorCode status = U_ZERO_ERROR;
    const std::int32_t size =
        uloc_getLanguage(identifier.c_str(), code.data(), static_cast<std::int32_t>(code.size()), &status);
    return U_FAILURE(status) || size <= 0 ? std::string() : std::string(code.data());
}

} // namespace vesto::unicode
