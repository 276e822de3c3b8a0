#include "core/extraction/readers/containers/ZipReader.h"
#include "core/support/Assert.h"

#include <cstddef>
#include <cstdint>
#include <string_view>

using vesto::readers::ZipReader;

/// Opens the bytes as an archive and asks for each member.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view archive(reinterpret_cast<const char*>(data), size);
    const auto reader = ZipReader::open(archive);
    if (!reader)
        return 0;
    VESTO_ASSERT(!reader->data("no such member \xFF\xFF").has_value());
    // Many members may point at the same bytes, each of which inflates to the most that is allowed.
    std::int64_t budget = 4 * ZipReader::maxMemberSize;
    std::size_t sum = 0;
    for (const auto& [name, entry] : reader->entries()) {
        const auto member = reader->data(name);
        if (!member)
            continue;
        const std::string_view bytes = member->view();
        VESTO_ASSERT(static_cast<std::int64_t>(bytes.size()) <= ZipReader::maxMemberSize);
        for (const char byte : bytes)
            sum += static_cast<unsigned char>(byte); // the address sanitizer looks at each
        budget -= static_cast<std::int64_t>(bytes.size());
        if (budget < 0)
            break;
    }
    VESTO_ASSERT(sum < SIZE_MAX);
    return 0;
}
