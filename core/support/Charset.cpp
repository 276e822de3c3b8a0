#include "core/support/Charset.h"

#include <unicode/ucnv.h>

#include <array>
#include <memory>

namespace vesto::unicode {
namespace {

struct CloseConverter {
    void operator()(UConverter* converter) const { ucnv_close(converter); }
};
using Converter = std::unique_ptr<UConverter, CloseConverter>;

Converter openConverter(const char* name) {
    UErrorCode status = U_ZERO_ERROR;
    Converter converter(ucnv_open(name, &status));
    return U_SUCCESS(status) ? std::move(converter) : nullptr;
}

} // namespace

std::optional<std::string> decodeCharset(std::string_view bytes, std::string_view name) {
    // A comma would hand ICU options of its own; an empty name would be the machine's default charset.
    if (name.empty() || name.size() > 60 ||
        name.find_first_of(std::string_view(",\0", 2)) != std::string_view::npos)
        return std::nullopt;
    const Converter source = openConverter(std::string(name).c_str());
    const Converter target = openConverter("UTF-8");
    if (!source || !target)
        return std::nullopt;

    std::string result;
    result.reserve(bytes.size() + bytes.size() / 4);
    std::array<UChar, 1024> pivot{};
    UChar* pivotSource = pivot.data();
    UChar* pivotTarget = pivot.data();
    const char* in = bytes.data();
    const char* const inEnd = in + bytes.size();
    std::array<char, 4096> buffer{};
    bool first = true;
    while (true) {
        UErrorCode status = U_ZERO_ERROR;
        char* out = buffer.data();
        ucnv_convertEx(target.get(), source.get(), &out, buffer.data() + buffer.size(), &in, inEnd,
                       pivot.data(), &pivotSource, &pivotTarget, pivot.data() + pivot.size(), /*reset=*/first,
                       /*flush=*/true, &status);
        first = false;
        result.append(buffer.data(), out);
        if (status != U_BUFFER_OVERFLOW_ERROR)
            break;
    }
    if (result.starts_with("\xEF\xBB\xBF"))
        result.erase(0, 3);
    return result;
}

} // namespace vesto::unicode
