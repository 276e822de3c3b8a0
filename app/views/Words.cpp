#include "app/views/Words.h"

#include "app/views/Formats.h"
#include "core/support/Text.h"
#include "core/support/Unicode.h"

namespace vesto {

QString shown(std::string_view utf8) {
    return QString::fromStdString(unicode::repaired(utf8));
}

std::string utf8(const QString& text) {
    return unicode::repaired(text.toStdString());
}

QString french(std::string_view key) {
    const std::string_view wording = text(key);
    return QString::fromUtf8(wording.data(), static_cast<qsizetype>(wording.size()));
}

QString plural(std::size_t count, std::string_view one, std::string_view many) {
    return french(count < 2 ? one : many).replace(QLatin1String("%n"), number(count));
}

} // namespace vesto
