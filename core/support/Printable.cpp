#include "core/support/Printable.h"

#include "core/support/Unicode.h"

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

} // namespace vesto
