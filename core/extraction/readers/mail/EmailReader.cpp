#include "core/extraction/readers/mail/EmailReader.h"

#include "core/extraction/readers/DocumentText.h"
#include "core/extraction/readers/FileBytes.h"
#include "core/extraction/readers/LineCollector.h"
#include "core/extraction/readers/mail/MailParts.h"

namespace vesto::readers {
namespace {

constexpr std::uint64_t maxFileBytes = 209'715'200;

} // namespace

std::expected<ContentSummary, SummarizerError> summarizeEmail(const ReadRequest& request,
                                                              const EmailSummarizer&) {
    const std::optional<FileBytes> file = FileBytes::map(request.fd, maxFileBytes);
    if (!file)
        return std::unexpected(SummarizerError::unreadable(request.path));
    const MailEntity message = mailMessageOf(file->view());
    if (!message.headers.areMail)
        return std::unexpected(SummarizerError::unreadable(request.path));
    LineCollector lines;
    for (const std::string& line : mailHeaderLines(message.headers))
        lines.add(line);
    for (const std::string& line : mailBodyLines(message))
        lines.add(line);
    if (file->wasTruncated())
        return std::unexpected(SummarizerError::unreadable(request.path));
    ContentSummary summary;
    summary.kind = ContentSummary::Kind::email;
    summary.lines = lines.take();
    // A month in words may be anything in a letter.
    summary.period = DocumentPeriodExtractor::period(joinedLines(summary.lines), false);
    const std::optional<Instant> date = mailDate(message.headers.date);
    summary.date = date ? date : request.bestDate;
    return summary;
}

} // namespace vesto::readers
