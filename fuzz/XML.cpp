#include "core/extraction/readers/ReadingLimits.h"
#include "core/extraction/readers/markup/XMLText.h"
#include "core/extraction/readers/office/OfficeReader.h"
#include "fuzz/Input.h"
#include "fuzz/StoredZip.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

using namespace vesto::readers;
using vesto::fuzz::Input;

namespace {

struct Package {
    OfficeFormat format;
    std::array<const char*, 7> parts; // null where it has fewer
};

constexpr std::array<const char*, 7> openDocument{"content.xml", "meta.xml", "styles.xml"};
constexpr std::array packages{
    Package{OfficeFormat::wordprocessing, {"word/document.xml", "docProps/core.xml", "docProps/app.xml"}},
    Package{OfficeFormat::presentation,
            {"ppt/slides/slide1.xml", "ppt/slides/slide2.xml", "ppt/presentation.xml",
             "ppt/_rels/presentation.xml.rels", "docProps/core.xml", "docProps/app.xml"}},
    Package{OfficeFormat::spreadsheet,
            {"xl/worksheets/sheet1.xml", "xl/sharedStrings.xml", "xl/workbook.xml",
             "xl/_rels/workbook.xml.rels", "xl/worksheets/sheet2.xml", "docProps/core.xml",
             "docProps/app.xml"}},
    Package{OfficeFormat::openDocumentText, openDocument},
    Package{OfficeFormat::openDocumentSpreadsheet, openDocument},
    Package{OfficeFormat::openDocumentPresentation, openDocument},
};

void readPackage(Input& input, const Package& package) {
    vesto::fuzz::StoredZip archive;
    for (const char* part : package.parts)
        if (part != nullptr)
            archive.add(part, input.text());
    const std::optional<OfficeText> document = readOffice(archive.finish(), package.format);
    if (!document)
        return;
    VESTO_ASSERT(!document->title || !document->title->empty());
    // "About" maxCharacters: the paragraph that passes the limit may be cut later than there. Four bytes
    // each.
    vesto::fuzz::checkLines(document->lines, 4 * (maxCharacters + 2'000));
}

} // namespace

/// The first byte chooses: an office document made of the texts that follow, one for each part, or the
/// collectors.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    Input input(data, size);
    const unsigned choice = input.choice(packages.size() + 3);
    if (choice < packages.size()) {
        readPackage(input, packages[choice]);
    } else if (choice == packages.size()) {
        const auto lines = XMLText::paragraphs(input.rest(), "w:p", "w:t");
        for (const std::string& line : lines)
            VESTO_ASSERT(vesto::unicode::isValid(line));
    } else if (choice == packages.size() + 1) {
        const auto lines = XMLText::paragraphs(input.rest(), "sheet", std::nullopt, "name");
        for (const std::string& line : lines)
            VESTO_ASSERT(vesto::unicode::isValid(line));
    } else {
        const auto rows = XMLText::sheetRows(input.rest(), {"zéro", "", "deux"}, 40);
        VESTO_ASSERT(rows.size() <= 40);
    }
    return 0;
}
