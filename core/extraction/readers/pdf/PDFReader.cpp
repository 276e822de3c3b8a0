#include "core/extraction/readers/pdf/PDFReader.h"

#include "core/extraction/DocumentPeriodExtractor.h"
#include "core/extraction/readers/FileBytes.h"
#include "core/extraction/readers/LineCollector.h"
#include "core/extraction/readers/ReadingLimits.h"
#include "core/extraction/readers/TimedReading.h"
#include "core/extraction/readers/pdf/PDFMetadata.h"
#include "core/extraction/readers/pdf/PDFPage.h"
#include "core/extraction/readers/pictures/PictureContent.h"
#include "core/extraction/readers/pictures/TextRecognition.h"
#include "core/support/Unicode.h"

#include <fmt/ranges.h>
#include <poppler-document.h>
#include <poppler-global.h>
#include <poppler-page.h>

#include <algorithm>
#include <cstdint>
#include <functional>
#include <limits>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace vesto::readers {
namespace {

// How far the search for a first text goes in a document that has almost none.
constexpr int maxPagesOfScan = 50;

std::u16string unitsOf(const poppler::ustring& text) {
    return {text.begin(), text.end()};
}

/// Poppler reports every flaw of a file on the standard error otherwise.
void silencePoppler() {
    static const bool done =
        (poppler::set_debug_error_function([](const std::string&, void*) {}, nullptr), true);
    static_cast<void>(done);
}

std::unique_ptr<poppler::document> open(std::string_view bytes) {
    if (bytes.empty())
        return nullptr;
    // An empty user password is tried along the way.
    return std::unique_ptr<poppler::document>(
        poppler::document::load_from_raw_data(bytes.data(), static_cast<int>(bytes.size())));
}

constexpr std::string_view softHyphen = "\xC2\xAD";

/// Without soft hyphens, and without the marks that Poppler puts around text from right to left.
std::string withoutInvisibles(std::string_view line) {
    std::string kept;
    kept.reserve(line.size());
    for (std::size_t i = 0; i < line.size();) {
        const auto [scalar, size] = unicode::scalarAt(line, i);
        const bool isMark = (scalar >= 0x202A && scalar <= 0x202E) || scalar == 0x200E || scalar == 0x200F;
        if (scalar != 0xAD && !isMark)
            kept.append(line, i, size);
        i += size;
    }
    return kept;
}

void addPage(std::string_view text, LineCollector& lines) {
    std::string word; // the lines that end in a soft hyphen, waiting for the rest
    for (std::size_t offset = 0; offset < text.size() && !lines.full();) {
        const std::string_view line = unicode::trimmedWhiteSpace(nextLine(text, offset));
        word += withoutInvisibles(line);
        if (line.ends_with(softHyphen))
            continue;
        lines.add(word);
        word.clear();
    }
    lines.add(word);
}

/// The lines of its pages, told after each; nothing where none of the pages looked at could be opened.
std::optional<std::vector<std::string>>
readText(const poppler::document& document, int pages, int scanThreshold,
         const std::function<void(const std::vector<std::string>&)>& tell) {
    LineCollector lines;
    bool opened = false;
    for (int i = 0; i < std::min(pages, maxPagesOfScan); ++i) {
        const bool isScanSoFar = lines.characters() < static_cast<std::size_t>(std::max(scanThreshold, 0));
        if (lines.full() || (i >= maxPages && !isScanSoFar))
            break;
        const std::unique_ptr<poppler::page> page(document.create_page(i));
        if (page == nullptr)
            continue;
        opened = true;
        addPage(visibleTextOfPage(*page, i == 0), lines);
        tell(lines.lines());
    }
    if (!opened)
        return std::nullopt;
    return lines.take();
}

std::optional<Instant> dateOf(const poppler::document& document) {
    for (const char* key : {"CreationDate", "ModDate"}) {
        if (auto date = instantOfPDFDate(textOfPDFString(unitsOf(document.info_key(key)))))
            return date;
    }
    return std::nullopt;
}

bool isScan(const std::vector<std::string>& lines, int scanThreshold) {
    std::size_t characters = 0;
    for (const std::string& line : lines)
        characters += unicode::graphemeCount(line);
    return characters < static_cast<std::size_t>(std::max(scanThreshold, 0));
}

/// What the first page of a scan shows, in place of the little text that the file has.
void recognizeFirstPage(const poppler::document& document, const ReadRequest& request,
                        const PDFSummarizer& settings, Reading& reading) {
    if (settings.ocr.recognitionLanguages.empty())
        return;
    const std::unique_ptr<poppler::page> page(document.create_page(0));
    const auto picture =
        page == nullptr ? std::nullopt
                        : drawnPage(*page, maxRecognizedPixels, std::numeric_limits<std::uint16_t>::max());
    if (!picture)
        return;
    PictureContent content = recognizePicture(*picture, settings.ocr, request);
    reading.missingLanguages = std::move(content.missingLanguages);
    if (content.lines.empty())
        return;
    reading.summary.lines = std::move(content.lines);
    reading.summary.textFromOCR = true;
}

constexpr std::uint64_t maxFileSize = std::numeric_limits<int>::max(); // bytes, which Poppler counts so

void findPeriod(ContentSummary& summary) {
    summary.period = DocumentPeriodExtractor::period(fmt::format("{}", fmt::join(summary.lines, "\n")),
                                                     !summary.textFromOCR);
}

std::expected<Reading, SummarizerError> read(const ReadRequest& request, const PDFSummarizer& settings,
                                             ReadingSoFar& soFar) {
    const auto unreadable = [&] { return std::unexpected(SummarizerError::unreadable(request.path)); };
    const auto bytes = FileBytes::map(request.fd, maxFileSize);
    if (!bytes)
        return unreadable();
    const auto document = open(bytes->view());
    if (document == nullptr)
        return unreadable();
    if (document->is_locked()) // before anything else: a locked document has no pages to count
        return std::unexpected(SummarizerError::locked(request.path));

    Reading reading;
    ContentSummary& summary = reading.summary;
    summary.kind = ContentSummary::Kind::pdf;
    summary.pageCount = document->pages();
    summary.documentTitle = usablePDFTitle(textOfPDFString(unitsOf(document->info_key("Title"))));
    summary.date = dateOf(*document);
    if (!summary.date)
        summary.date = request.bestDate;
    const auto tell = [&](const std::vector<std::string>& lines) {
        Reading told = reading;
        told.summary.lines = lines;
        findPeriod(told.summary);
        soFar.tell(std::move(told));
    };
    if (!summary.documentTitle.value_or("").empty())
        tell({});
    auto lines = readText(*document, document->pages(), settings.scanThreshold, tell);
    if (!lines)
        return unreadable();
    summary.lines = *std::move(lines);
    if (isScan(summary.lines, settings.scanThreshold))
        recognizeFirstPage(*document, request, settings, reading);
    findPeriod(summary);
    if (bytes->wasTruncated())
        return unreadable();
    return reading;
}

} // namespace

std::expected<Reading, SummarizerError> summarizePDF(const ReadRequest& request,
                                                     const PDFSummarizer& settings) {
    silencePoppler();
    return readInTime(request, [settings](const ReadRequest& own, ReadingSoFar& soFar) {
        return read(own, settings, soFar);
    });
}

std::optional<Raster> firstPageOfPDF(const ReadRequest& request, std::uint32_t maxSide) {
    silencePoppler();
    const auto bytes = FileBytes::map(request.fd, maxFileSize);
    const auto document = bytes ? open(bytes->view()) : nullptr;
    if (document == nullptr || document->is_locked() || document->pages() < 1)
        return std::nullopt;
    const std::unique_ptr<poppler::page> page(document->create_page(0));
    auto picture =
        page == nullptr ? std::nullopt : drawnPage(*page, std::uint64_t{maxSide} * maxSide, maxSide);
    return bytes->wasTruncated() ? std::nullopt : std::move(picture);
}

} // namespace vesto::readers
