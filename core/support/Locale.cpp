#include "core/support/Locale.h"

#include <algorithm>
#include <cstdlib>

namespace vesto {

Locale::Locale(std::string_view identifier)
    : m_identifier(identifier.substr(0, identifier.find_first_of(".@"))) {
    std::ranges::replace(m_identifier, '-', '_');
}

Locale Locale::user() {
    for (const char* name : {"LC_ALL", "LC_TIME", "LANG"}) {
        const char* value = std::getenv(name);
        if (value == nullptr || *value == '\0')
            continue;
        Locale locale{value};
        if (locale.identifier() != "C" && locale.identifier() != "POSIX")
            return locale;
        break;
    }
    return Locale{"fr_FR"};
}

std::string Locale::languageCode() const {
    std::string code = m_identifier.substr(0, m_identifier.find('_'));
    for (char& letter : code)
        if (letter >= 'A' && letter <= 'Z')
            letter = static_cast<char>(letter - 'A' + 'a');
    return code;
}

} // namespace vesto
