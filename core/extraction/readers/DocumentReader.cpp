#include "core/extraction/readers/DocumentReader.h"

#include "core/extraction/readers/Ascii.h"
#include "core/extraction/readers/FileBytes.h"
#include "core/extraction/readers/LineCollector.h"
#include "core/extraction/readers/containers/CompoundFile.h"
#include "core/extraction/readers/markup/HTMLText.h"
#include "core/extraction/readers/markup/WebArchive.h"
#include "core/extraction/readers/office/BinaryOffice.h"
#include "core/extraction/readers/office/CarriedPicture.h"
#include "core/extraction/readers/office/OfficeReader.h"
#include "core/extraction/readers/text/CharsetDetector.h"
#include "core/extraction/readers/text/PlainTextReader.h"
#include "core/extraction/readers/text/RTFText.h"
#include "core/extraction/readers/text/SourceText.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <utility>

namespace vesto::readers {
namespace {

/// Enough for `maxCharacters` in any charset with a good deal of blanks and licence before them.
constexpr std::size_t textBytes = std::size_t{256} * 1024;

enum class Format {
    text,
    markdown,
    json,
    table,
    source,
    html,
    rtf,
    word,
    binaryWord,
    openDocument,
    webArchive,
    none
};

struct FileFormat {
    Format format = Format::text;
    std::optional<std::string> name;
    CommentStyle comments = CommentStyle::none;
};

struct ExtensionRow {
    std::string_view extensions; // with a blank before and after each
    Format format;
    std::string_view name;
};

constexpr std::array<ExtensionRow, 11> extensionRows{{
    {" docx ", Format::word, "Word"},
    {" doc ", Format::binaryWord, "Word"},
    {" odt ", Format::openDocument, "OpenDocument"},
    {" html htm shtml xhtml xht ", Format::html, "HTML"},
    {" rtf ", Format::rtf, "RTF"},
    {" md markdown mdown mkd mdwn rmd ", Format::markdown, "Markdown"},
    {" json geojson jsonl ndjson json5 ipynb webmanifest ", Format::json, "JSON"},
    {" csv ", Format::table, "CSV"},
    {" tsv tab ", Format::table, "TSV"},
    {" rtfd ", Format::none, "RTFD"},
    {" webarchive ", Format::webArchive, "Webarchive"},
}};

/// A name without an extension was told by its first bytes.
FileFormat formatOfType(const ContentType& type) {
    if (TypeRegistry::conforms(type, "public.html"))
        return {Format::html, "HTML"};
    if (TypeRegistry::conforms(type, "public.rtf"))
        return {Format::rtf, "RTF"};
    if (TypeRegistry::conforms(type, "public.json"))
        return {Format::json, "JSON"};
    return {Format::text, "Texte"};
}

FileFormat formatOf(const ReadRequest& request) {
    std::string extension = request.path.extension().string();
    if (extension.size() < 2)
        return formatOfType(request.type);
    extension = ascii::lowered(extension.substr(1));
    const std::string word = ' ' + extension + ' ';
    for (const ExtensionRow& row : extensionRows)
        if (row.extensions.find(word) != row.extensions.npos)
            return {row.format, std::string(row.name)};
    if (const std::optional<SourceFormat> source = sourceFormatOf(extension))
        return {Format::source, std::string(source->name), source->comments};
    return formatOfType(request.type);
}

bool isHTML(std::string_view bytes) {
    const std::string_view start = ascii::trimmed(bytes.substr(0, 1024));
    return ascii::startsWithIgnoringCase(start, "<html") ||
           ascii::startsWithIgnoringCase(start, "<!doctype html") ||
           (start.starts_with("<?xml") && ascii::findIgnoringCase(start, "<html") != start.npos);
}

/// What a word-processing document is by its first bytes: programs save one format under another's extension.
Format actualFormat(Format format, const std::string& name, std::string_view bytes) {
    const bool isDocument = name == "Word" || format == Format::openDocument || format == Format::rtf;
    if (!isDocument)
        return format;
    if (bytes.starts_with("{\\rtf"))
        return Format::rtf;
    if (bytes.starts_with("PK"))
        return format == Format::openDocument ? format : Format::word;
    if (CompoundFile::isOne(bytes))
        return Format::binaryWord;
    if (isHTML(bytes))
        return Format::html;
    return format == Format::rtf ? Format::text : format;
}

struct Content {
    DocumentText text = {};
    std::optional<std::int64_t> pageCount;
};

std::optional<Content> contentOf(std::optional<OfficeText> office) {
    if (!office)
        return std::nullopt;
    Content content{.pageCount = office->pageCount};
    LineCollector lines;
    for (const std::string& line : office->lines)
        lines.add(line);
    if (office->title)
        content.text.title = usableTitle(*office->title);
    content.text.lines = lines.take();
    content.text.date = office->date;
    return content;
}

std::optional<Content> readText(std::string_view bytes, const FileFormat& format) {
    const std::string_view part = wholeSequences(bytes, textBytes);
    const std::optional<std::string> text = decodeText(part);
    if (!text)
        return std::nullopt;
    switch (format.format) {
    case Format::markdown:
        return Content{markdownText(*text), {}};
    case Format::json:
        return Content{jsonText(*text, part.size() == bytes.size()), {}};
    case Format::table:
        return Content{delimitedText(*text), {}};
    case Format::source:
        return Content{sourceText(*text, format.comments), {}};
    case Format::text:
    case Format::html:
    case Format::rtf:
    case Format::word:
    case Format::binaryWord:
    case Format::openDocument:
    case Format::webArchive:
    case Format::none:
        break;
    }
    return Content{plainText(*text), {}};
}

std::optional<Content> wrap(std::optional<DocumentText> text) {
    return text ? std::optional(Content{std::move(*text), {}}) : std::nullopt;
}

std::optional<Content> readContent(std::string_view bytes, const FileFormat& format) {
    switch (format.format) {
    case Format::html:
        return wrap(readHTML(bytes));
    case Format::rtf:
        return wrap(readRTF(bytes));
    case Format::word:
        return contentOf(readOffice(bytes, OfficeFormat::wordprocessing));
    case Format::binaryWord:
        return contentOf(readBinaryWord(bytes));
    case Format::openDocument:
        return contentOf(readOffice(bytes, OfficeFormat::openDocumentText));
    case Format::webArchive:
        return wrap(readWebArchive(bytes));
    case Format::none:
        return std::nullopt;
    case Format::text:
    case Format::markdown:
    case Format::json:
    case Format::table:
    case Format::source:
        break;
    }
    return readText(bytes, format);
}

} // namespace

std::expected<Reading, SummarizerError> summarizeDocument(const ReadRequest& request,
                                                          const DocumentSummarizer& settings,
                                                          const ImageSummarizer& recognition) {
    const std::optional<FileBytes> file = FileBytes::map(
        request.fd, static_cast<std::uint64_t>(std::max<std::int64_t>(settings.maxFileBytes, 0)));
    if (!file)
        return std::unexpected(SummarizerError::unreadable(request.path));
    FileFormat format = formatOf(request);
    format.format = actualFormat(format.format, format.name.value_or(""), file->view());
    std::optional<Content> content = readContent(file->view(), format);
    if (!content)
        return std::unexpected(SummarizerError::unreadable(request.path));
    Reading reading;
    ContentSummary& summary = reading.summary;
    summary.kind = ContentSummary::Kind::document;
    summary.lines = std::move(content->text.lines);
    const bool isPackage = format.format == Format::word || format.format == Format::openDocument;
    if (summary.lines.empty() && isPackage)
        readCarriedPicture(file->view(), {}, recognition, request, reading);
    // A month in words may be misread.
    summary.period = DocumentPeriodExtractor::period(joinedLines(summary.lines), !summary.textFromOCR);
    summary.documentTitle = std::move(content->text.title);
    summary.pageCount = content->pageCount;
    summary.date = content->text.date ? content->text.date : request.bestDate;
    summary.formatName = std::move(format.name);
    if (file->wasTruncated())
        return std::unexpected(SummarizerError::unreadable(request.path));
    return reading;
}

std::optional<Raster> pictureOfDocument(const ReadRequest& request, const DocumentSummarizer& settings,
                                        std::uint64_t maxPixels) {
    const std::optional<FileBytes> file = FileBytes::map(
        request.fd, static_cast<std::uint64_t>(std::max<std::int64_t>(settings.maxFileBytes, 0)));
    return file ? carriedPicture(file->view(), {}, maxPixels) : std::nullopt;
}

} // namespace vesto::readers
