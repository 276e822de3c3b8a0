#include "core/extraction/readers/QuickLookReader.h"

#include "core/extraction/readers/DocumentText.h"
#include "core/extraction/readers/FileBytes.h"
#include "core/extraction/readers/LineCollector.h"
#include "core/extraction/readers/OfficeReader.h"
#include "core/support/Unicode.h"

#include <array>
#include <optional>
#include <string_view>
#include <tuple>
#include <utility>

namespace vesto::readers {
namespace {

std::optional<OfficeFormat> formatOf(const ContentType& type) {
    static constexpr std::array<std::pair<std::string_view, OfficeFormat>, 4> formats{{
        {"org.openxmlformats.spreadsheetml.sheet", OfficeFormat::spreadsheet},
        {"org.openxmlformats.presentationml.presentation", OfficeFormat::presentation},
        {"org.oasis-open.opendocument.spreadsheet", OfficeFormat::openDocumentSpreadsheet},
        {"org.oasis-open.opendocument.presentation", OfficeFormat::openDocumentPresentation},
    }};
    for (const auto& [identifier, format] : formats) {
        if (type.identifier == identifier)
            return format;
    }
    return std::nullopt;
}

// What a program writes where nobody gave a title.
bool isNoTitle(std::string_view title) {
    return unicode::caseFolded(title) == "sans titre";
}

} // namespace

std::expected<ContentSummary, SummarizerError> summarizeQuickLook(const ReadRequest& request,
                                                                  const QuickLookSummarizer& settings) {
    const auto unreadable = std::unexpected(SummarizerError::unreadable(request.path));
    const std::optional<OfficeFormat> format = formatOf(request.type);
    if (!format.has_value() || settings.maxFileSize < 0)
        return unreadable;
    const auto file = FileBytes::map(request.fd, static_cast<std::uint64_t>(settings.maxFileSize));
    if (!file.has_value())
        return unreadable;
    std::optional<OfficeText> text = readOffice(file->view(), *format);
    if (!text.has_value() || file->wasTruncated())
        return unreadable;
    ContentSummary summary;
    std::tie(summary.kind, summary.formatName) = kindAndFormat(request.type);
    LineCollector lines;
    for (const std::string& line : text->lines)
        lines.add(line);
    summary.lines = lines.take();
    const std::string title = titleLine(text->title.value_or(""));
    if (!title.empty() && !isNoTitle(title))
        summary.documentTitle = title;
    summary.pageCount = text->pageCount;
    summary.date = text->date.has_value() ? text->date : request.bestDate;
    return summary;
}

} // namespace vesto::readers
