#include "core/extraction/readers/office/OfficeReader.h"

#include "core/extraction/readers/office/OfficePackage.h"

#include <utility>

namespace vesto::readers {

std::optional<OfficeText> readOffice(std::string_view archive, OfficeFormat format) {
    std::optional<ZipReader> reader = ZipReader::open(archive);
    if (!reader.has_value())
        return std::nullopt;
    OfficePackage package(std::move(*reader));
    switch (format) {
    case OfficeFormat::wordprocessing:
        return readWordDocument(package);
    case OfficeFormat::presentation:
        return readSlides(package);
    case OfficeFormat::spreadsheet:
        return readWorkbook(package);
    case OfficeFormat::openDocumentText:
    case OfficeFormat::openDocumentSpreadsheet:
    case OfficeFormat::openDocumentPresentation:
        return readOpenDocument(package, format);
    }
    std::unreachable();
}

} // namespace vesto::readers
