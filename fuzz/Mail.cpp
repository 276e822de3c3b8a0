#include "core/extraction/readers/ReadingLimits.h"
#include "core/extraction/readers/mail/MailParts.h"
#include "fuzz/Input.h"

#include <cstddef>
#include <cstdint>

using namespace vesto::readers;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view bytes(reinterpret_cast<const char*>(data), size);
    const MailEntity message = mailMessageOf(bytes);
    VESTO_ASSERT(bytes.ends_with(message.body));
    vesto::fuzz::checkLines(mailHeaderLines(message.headers), 4 * maxCharacters);
    vesto::fuzz::checkLines(mailBodyLines(message), 4 * maxCharacters);
    return 0;
}
