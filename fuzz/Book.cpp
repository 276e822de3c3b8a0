#include "core/extraction/readers/ReadingLimits.h"
#include "core/extraction/readers/markup/WebArchive.h"
#include "core/extraction/readers/office/EPUBReader.h"
#include "fuzz/Input.h"
#include "fuzz/StoredZip.h"

#include <cstddef>
#include <cstdint>
#include <optional>

using namespace vesto::readers;

/// The first byte chooses: a web archive; or a book of the texts that follow.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    vesto::fuzz::Input input(data, size);
    if (input.choice(2) == 0) {
        if (const auto page = readWebArchive(input.rest()))
            vesto::fuzz::checkLines(page->lines, 4 * maxCharacters);
        return 0;
    }
    vesto::fuzz::StoredZip archive;
    archive.add("META-INF/container.xml", "<rootfile full-path='a/p'/>");
    for (const char* part : {"a/p", "a/1", "a/2", "a/s", "META-INF/encryption.xml"})
        archive.add(part, input.text());
    const std::optional<EPUBContent> book = readEPUB(archive.finish());
    if (!book)
        return 0;
    vesto::fuzz::checkLines(book->text.lines, 4 * maxCharacters);
    VESTO_ASSERT(!book->text.title || !book->text.title->empty());
    VESTO_ASSERT(vesto::unicode::isValid(book->author));
    return 0;
}
