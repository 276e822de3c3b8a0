#include "core/extraction/readers/mail/MailParts.h"

#include "core/extraction/readers/Ascii.h"
#include "core/extraction/readers/LineCollector.h"
#include "core/extraction/readers/markup/HTMLText.h"
#include "core/extraction/readers/text/CharsetDetector.h"
#include "core/naming/ContentSummary.h"
#include "core/support/UnicodeDates.h"

#include <algorithm>
#include <utility>

namespace vesto::readers {
namespace {

using Lines = std::vector<std::string>;

constexpr int maxDepth = 16;                    // parts in parts
constexpr std::size_t maxParts = 1000;          // of the whole message
constexpr std::size_t maxPartBytes = 1'048'576; // of one text, decoded
constexpr std::size_t maxDecoded = 8 * maxPartBytes;
constexpr std::size_t maxScanned = 256 * maxPartBytes; // in search of boundaries, all levels together
constexpr std::size_t enoughLetters = 20;

/// The parts between the lines that a boundary makes.
class PartSplitter {
public:
    PartSplitter(std::string_view body, const std::string& boundary, std::size_t maximumOfParts)
        : m_body(body)
        , m_mark("--" + boundary)
        , m_maxParts(maximumOfParts) {}

    /// What stands before the first boundary and behind the last is no part. A missing end is none.
    std::vector<std::string_view> run() {
        std::size_t begin = m_body.npos;
        for (std::size_t line = 0; line < m_body.size() && m_parts.size() < m_maxParts;) {
            const std::size_t next = std::min(m_body.find('\n', line), m_body.size() - 1) + 1;
            const std::string_view text = m_body.substr(line, next - line);
            if (text.starts_with(m_mark)) {
                const std::string_view rest = ascii::trimmed(text.substr(m_mark.size()));
                if (rest.empty() || rest == "--") {
                    add(begin, line);
                    begin = next;
                    if (!rest.empty())
                        return std::move(m_parts);
                }
            }
            line = next;
        }
        add(begin, m_body.size());
        return std::move(m_parts);
    }

private:
    void add(std::size_t begin, std::size_t end) {
        if (begin != m_body.npos && m_parts.size() < m_maxParts)
            m_parts.push_back(m_body.substr(begin, end - begin));
    }

    std::string_view m_body;
    std::string m_mark;
    std::size_t m_maxParts;
    std::vector<std::string_view> m_parts;
};

/// The boundary of a body whose head forgot to name it.
std::string guessedBoundary(std::string_view body) {
    body.remove_prefix(std::min(body.find_first_not_of("\r\n"), body.size()));
    if (!body.starts_with("--"))
        return {};
    return std::string(ascii::trimmed(body.substr(2, std::min<std::size_t>(body.find('\n'), 200) - 2)));
}

/// Text whose lines were broken only to be sent is put together again.
std::string unflowed(std::string_view text, bool dropsBlank) {
    std::string result;
    for (std::size_t offset = 0; offset < text.size();) {
        std::string_view line = nextLine(text, offset);
        const bool isSoft = line.ends_with(' ') && line != "-- " && !line.starts_with('>');
        if (isSoft && dropsBlank)
            line.remove_suffix(1);
        result += line;
        if (!isSoft)
            result += '\n';
    }
    return result;
}

std::string_view withoutQuoteMarks(std::string_view line) {
    line.remove_prefix(std::min(line.find_first_not_of("> "), line.size()));
    return line;
}

Lines plainLines(std::string_view text) {
    std::vector<std::string_view> lines;
    std::string own;
    for (std::size_t offset = 0; offset < text.size();) {
        const std::string_view line = nextLine(text, offset);
        const bool isSignature = line == "-- " || line == "--";
        if (isSignature && !ascii::trimmed(own).empty())
            break;
        lines.push_back(line);
        if (!line.starts_with('>') && own.size() < 4 * maxCharacters)
            own.append(line) += '\n';
    }
    const bool hasOwn = letterCount(own, enoughLetters) >= enoughLetters;
    LineCollector collector;
    for (const std::string_view line : lines)
        if (!line.starts_with('>'))
            collector.add(line);
        else if (!hasOwn)
            collector.add(withoutQuoteMarks(line));
    return collector.take();
}

class MailWalker {
public:
    Lines linesOf(const MailEntity& entity, int depth) {
        const MailContentType type = mailContentType(entity.headers.contentType);
        if (type.type.starts_with("multipart/"))
            return depth < maxDepth ? multipart(entity, type, depth) : Lines();
        if (type.type == "message/rfc822")
            return depth < maxDepth ? message(entity.body, depth) : Lines();
        if (type.type == "text/plain" || type.type == "text/html")
            return text(entity, type);
        return {};
    }

private:
    Lines text(const MailEntity& entity, const MailContentType& type) {
        const std::string bytes = mailBody(entity.body, entity.headers.transferEncoding,
                                           std::min(maxPartBytes, maxDecoded - m_decoded));
        m_decoded += bytes.size();
        const std::string_view whole = wholeSequences(bytes, maxPartBytes - 4);
        if (type.type == "text/html" && type.charset.empty()) {
            const auto page = readHTML(whole);
            return page ? page->lines : Lines();
        }
        const std::optional<std::string> decoded = mailText(whole, type.charset);
        if (!decoded)
            return {};
        if (type.type == "text/html")
            return htmlText(*decoded).lines;
        return type.isFlowed ? plainLines(unflowed(*decoded, type.dropsSoftBlank)) : plainLines(*decoded);
    }

    Lines message(std::string_view body, int depth) {
        const MailEntity inner = mailMessageOf(body);
        Lines lines = mailHeaderLines(inner.headers);
        if (!mailDisposition(inner.headers.disposition).isAttachment)
            std::ranges::move(linesOf(inner, depth + 1), std::back_inserter(lines));
        return lines;
    }

    Lines multipart(const MailEntity& entity, const MailContentType& type, int depth) {
        std::string boundary = type.boundary.substr(0, 200);
        if (boundary.empty())
            boundary = guessedBoundary(entity.body);
        if (boundary.empty())
            return text(entity, {});
        const std::string_view body = entity.body.substr(0, maxScanned - m_scanned);
        m_scanned += body.size();
        std::vector<MailEntity> parts;
        for (const std::string_view part : PartSplitter(body, boundary, maxParts - m_parts).run()) {
            MailEntity inner = mailEntityOf(part);
            if (type.type == "multipart/digest" && inner.headers.contentType.empty())
                inner.headers.contentType = "message/rfc822";
            if (!isAttachment(inner, parts.empty()))
                parts.push_back(std::move(inner));
            ++m_parts;
        }
        return type.type == "multipart/alternative" ? alternative(parts, depth) : all(parts, depth);
    }

    /// A text with a name is a file that its program happens to show, but the first is the message.
    static bool isAttachment(const MailEntity& part, bool isFirst) {
        const MailDisposition disposition = mailDisposition(part.headers.disposition);
        const bool hasName = disposition.hasFileName || mailContentType(part.headers.contentType).hasFileName;
        return disposition.isAttachment || (hasName && !isFirst);
    }

    Lines all(const std::vector<MailEntity>& parts, int depth) {
        LineCollector collector;
        for (const MailEntity& part : parts)
            for (const std::string& line : collector.full() ? Lines() : linesOf(part, depth + 1))
                collector.add(line);
        return collector.take();
    }

    Lines alternative(const std::vector<MailEntity>& parts, int depth) {
        for (const bool wantsPlain : {true, false})
            for (const MailEntity& part : parts) {
                if ((mailContentType(part.headers.contentType).type == "text/plain") != wantsPlain)
                    continue;
                Lines lines = linesOf(part, depth + 1);
                if (!lines.empty())
                    return lines;
            }
        return {};
    }

    std::size_t m_parts = 0;   // found so far
    std::size_t m_decoded = 0; // bytes
    std::size_t m_scanned = 0; // bytes
};

} // namespace

std::vector<std::string> mailBodyLines(const MailEntity& message) {
    if (mailDisposition(message.headers.disposition).isAttachment)
        return {};
    LineCollector collector;
    for (const std::string& line : MailWalker().linesOf(message, 0))
        collector.add(line);
    return collector.take();
}

std::vector<std::string> mailHeaderLines(const MailHeaders& headers) {
    LineCollector lines;
    lines.add(mailHeaderText(headers.subject));
    std::string sender = mailSender(headers.from);
    if (sender.empty())
        sender = mailSender(headers.sender);
    if (!sender.empty())
        lines.add("De : " + sender);
    std::string date = mailHeaderText(headers.date);
    if (const std::optional<Instant> instant = mailDate(headers.date))
        date = unicode::formatDate(*instant, "d MMMM yyyy 'à' HH:mm", Locale("fr_FR"));
    if (!date.empty())
        lines.add("Date : " + date);
    return lines.take();
}

} // namespace vesto::readers
