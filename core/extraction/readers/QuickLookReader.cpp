#include "core/extraction/readers/QuickLookReader.h"

#include "core/extraction/readers/Ascii.h"
#include "core/extraction/readers/DocumentText.h"
#include "core/extraction/readers/FileBytes.h"
#include "core/extraction/readers/LineCollector.h"
#include "core/extraction/readers/containers/CompoundFile.h"
#include "core/extraction/readers/markup/HTMLText.h"
#include "core/extraction/readers/office/BinaryOffice.h"
#include "core/extraction/readers/office/CarriedPicture.h"
#include "core/extraction/readers/office/EPUBReader.h"
#include "core/extraction/readers/office/IWorkReader.h"
#include "core/extraction/readers/office/OfficeReader.h"
#include "core/extraction/readers/text/CharsetDetector.h"
#include "core/extraction/readers/text/PlainTextReader.h"
#include "core/support/Unicode.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <optional>
#include <string_view>
#include <tuple>
#include <utility>

namespace vesto::readers {
namespace {

enum class Format {
    workbook,
    oldWorkbook,
    slides,
    openDocumentSheets,
    openDocumentSlides,
    keynote,
    numbers,
    pages,
    epub
};

std::optional<Format> formatOf(const ContentType& type) {
    static constexpr std::array<std::pair<std::string_view, Format>, 11> formats{{
        {"org.openxmlformats.spreadsheetml.sheet", Format::workbook},
        {"com.microsoft.excel.xls", Format::oldWorkbook},
        {"org.openxmlformats.presentationml.presentation", Format::slides},
        {"com.microsoft.powerpoint.ppt", Format::slides},
        {"org.oasis-open.opendocument.spreadsheet", Format::openDocumentSheets},
        {"org.oasis-open.opendocument.presentation", Format::openDocumentSlides},
        {"com.apple.keynote.key", Format::keynote},
        {"com.apple.iwork.keynote.sffkey", Format::keynote},
        {"com.apple.iwork.numbers.sffnumbers", Format::numbers},
        {"com.apple.iwork.pages.sffpages", Format::pages},
        {"org.idpf.epub-container", Format::epub},
    }};
    for (const auto& [identifier, format] : formats) {
        if (type.identifier == identifier)
            return format;
    }
    return std::nullopt;
}

struct Content {
    OfficeText text = {};
    std::string author = {}; // of a book
    std::string cover = {};  // a member of the archive
};

std::optional<Content> contentOf(std::optional<OfficeText> text) {
    return text ? std::optional(Content{.text = std::move(*text)}) : std::nullopt;
}

/// Web pages offer tables under the extension of a workbook that are none.
std::optional<Content> readTableText(std::string_view bytes) {
    constexpr std::size_t enough = 1'048'576;
    const std::string_view start = ascii::trimmed(bytes.substr(0, 1024));
    std::optional<DocumentText> text;
    if (start.starts_with("<?xml"))
        return std::nullopt;
    if (start.starts_with('<'))
        text = readHTML(bytes);
    else if (const auto decoded = decodeText(wholeSequences(bytes, enough)); decoded && !decoded->empty())
        text = delimitedText(*decoded);
    if (!text)
        return std::nullopt;
    return Content{
        .text = {.title = text->title, .lines = std::move(text->lines), .date = text->date, .pageCount = {}}};
}

/// A program may have saved one format under another's extension.
std::optional<Content> readContent(std::string_view bytes, Format format) {
    const bool isBinary = CompoundFile::isOne(bytes);
    switch (format) {
    case Format::oldWorkbook:
        if (!isBinary && !bytes.starts_with("PK"))
            return readTableText(bytes);
        [[fallthrough]];
    case Format::workbook:
        if (isBinary)
            return contentOf(readBinaryWorkbook(bytes));
        return contentOf(readOffice(bytes, OfficeFormat::spreadsheet));
    case Format::slides:
        return contentOf(isBinary ? readBinarySlides(bytes) : readOffice(bytes, OfficeFormat::presentation));
    case Format::openDocumentSheets:
        return contentOf(readOffice(bytes, OfficeFormat::openDocumentSpreadsheet));
    case Format::openDocumentSlides:
        return contentOf(readOffice(bytes, OfficeFormat::openDocumentPresentation));
    case Format::keynote:
        return contentOf(readIWork(bytes, IWorkFormat::keynote));
    case Format::numbers:
        return contentOf(readIWork(bytes, IWorkFormat::numbers));
    case Format::pages:
        return contentOf(readIWork(bytes, IWorkFormat::pages));
    case Format::epub:
        if (std::optional<EPUBContent> book = readEPUB(bytes))
            return Content{std::move(book->text), std::move(book->author), std::move(book->cover)};
        return std::nullopt;
    }
    std::unreachable();
}

} // namespace

std::expected<Reading, SummarizerError> summarizeQuickLook(const ReadRequest& request,
                                                           const QuickLookSummarizer& settings) {
    const auto start = std::chrono::steady_clock::now();
    const auto unreadable = std::unexpected(SummarizerError::unreadable(request.path));
    const std::optional<Format> format = formatOf(request.type);
    if (!format.has_value() || settings.maxFileSize < 0)
        return unreadable;
    const auto file = FileBytes::map(request.fd, static_cast<std::uint64_t>(settings.maxFileSize));
    if (!file.has_value())
        return unreadable;
    std::optional<Content> content = readContent(file->view(), *format);
    if (!content.has_value())
        return unreadable;
    Reading reading;
    ContentSummary& summary = reading.summary;
    std::tie(summary.kind, summary.formatName) = kindAndFormat(request.type);
    summary.documentTitle = usableTitle(content->text.title.value_or(""));
    LineCollector lines;
    // Who wrote a book says something only beside its title.
    if (summary.documentTitle && !content->author.empty())
        lines.add("Auteur : " + content->author);
    for (const std::string& line : content->text.lines)
        lines.add(line);
    summary.lines = lines.take();
    if (content->text.lines.empty()) {
        ReadRequest bounded = request;
        bounded.lastMoment = std::min(request.lastMoment, start + settings.timeout);
        readCarriedPicture(file->view(), content->cover, settings.ocr, bounded, reading);
    }
    summary.pageCount = content->text.pageCount;
    summary.date = content->text.date.has_value() ? content->text.date : request.bestDate;
    if (file->wasTruncated())
        return unreadable;
    return reading;
}

std::optional<Raster> pictureOfQuickLook(const ReadRequest& request, const QuickLookSummarizer& settings,
                                         std::uint64_t maxPixels) {
    const std::optional<Format> format = formatOf(request.type);
    if (!format.has_value() || settings.maxFileSize < 0)
        return std::nullopt;
    const auto file = FileBytes::map(request.fd, static_cast<std::uint64_t>(settings.maxFileSize));
    if (!file.has_value())
        return std::nullopt;
    const std::optional<Content> content = readContent(file->view(), *format); // a book names its cover
    return carriedPicture(file->view(), content ? content->cover : std::string(), maxPixels);
}

} // namespace vesto::readers
