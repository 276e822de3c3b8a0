#include "core/support/Printable.h"

#include "core/support/Unicode.h"

#include <cstddef>

namespace vesto {

std::string printable(std::string_view text) {
    std::string result;
    for (std::size_t offset = 0; offset < text.size();) {
        const unicode::Scalar scalar = unicode::scalarAt(text, offset);
        const bool shown = !unicode::isControl(scalar.value) && !unicode::isNewline(scalar.value);
        unicode::append(result, shown ? scalar.value : unicode::replacementCharacter);
        offset += scalar.size;
    }
    return result;
}

std::string isolated(std::string_view name) {
    std::string result(isolateBegin);
    return result.append(name).append(isolateEnd);
}

std::string withIsolatedQuotations(std::string_view sentence) {
    constexpr std::string_view opening = "«";
    constexpr std::string_view closing = "»";
    std::string result;
    for (std::size_t offset = 0; offset < sentence.size();) {
        const std::string_view rest = sentence.substr(offset);
        if (rest.starts_with(opening)) {
            result.append(opening).append(isolateBegin);
            offset += opening.size();
        } else if (rest.starts_with(closing)) {
            result.append(isolateEnd).append(closing);
            offset += closing.size();
        } else {
            result += rest.front();
            ++offset;
        }
    }
    return result;
}

} // namespace vesto
