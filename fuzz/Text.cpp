#include "core/extraction/readers/ReadingLimits.h"
#include "core/extraction/readers/markup/HTMLText.h"
#include "core/extraction/readers/text/CharsetDetector.h"
#include "core/extraction/readers/text/PlainTextReader.h"
#include "core/extraction/readers/text/RTFText.h"
#include "core/extraction/readers/text/SourceText.h"
#include "fuzz/Input.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

using namespace vesto::readers;
using vesto::fuzz::Input;

namespace {

void check(const std::optional<std::string>& text) {
    VESTO_ASSERT(!text || vesto::unicode::isValid(*text));
}

void check(const DocumentText& document) {
    vesto::fuzz::checkLines(document.lines, 4 * maxCharacters);
    std::size_t scalars = 0;
    for (const std::string& line : document.lines)
        for (std::size_t offset = 0; offset < line.size(); ++scalars)
            offset += vesto::unicode::scalarAt(line, offset).size;
    VESTO_ASSERT(scalars <= maxCharacters);
    if (document.title)
        VESTO_ASSERT(!document.title->empty() && vesto::unicode::isValid(*document.title));
}

void check(const std::optional<DocumentText>& document) {
    if (document)
        check(*document);
}

} // namespace

/// The first byte chooses the reader. Those that want UTF-8 are given what charset detection makes of the
/// bytes.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    Input input(data, size);
    const unsigned choice = input.choice(10);
    switch (choice) {
    case 0: {
        const std::string_view declared = input.text();
        check(decodeText(input.rest(), declared));
        return 0;
    }
    case 1:
        check(readHTML(input.rest()));
        return 0;
    case 2:
        check(readRTF(input.rest()));
        return 0;
    default:
        break;
    }
    const std::optional<std::string> text = decodeText(input.rest());
    check(text);
    if (!text)
        return 0;
    switch (choice) {
    case 3:
        check(plainText(*text));
        break;
    case 4:
        check(markdownText(*text));
        break;
    case 5:
        check(jsonText(*text, true));
        break;
    case 6:
        check(jsonText(*text, false));
        break;
    case 7:
        check(delimitedText(*text));
        break;
    case 8:
        check(htmlText(*text));
        break;
    default:
        for (const CommentStyle comments : {CommentStyle::slashes, CommentStyle::hash, CommentStyle::markup})
            check(sourceText(*text, comments));
        break;
    }
    return 0;
}
