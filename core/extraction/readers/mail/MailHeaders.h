#pragma once
#include "core/support/Time.h"

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

/// The headers of a mail message and of its parts. Values are given as they stand in the message, on one
/// line; what comes back is valid UTF-8. Linear time, thread-safe, nothing fails.
namespace vesto::readers {

/// The headers that matter; the first of each name, unfolded, at most 16 KiB, empty where it is missing.
struct MailHeaders {
    std::string subject, from, sender, date, contentType, transferEncoding, disposition;
    bool areMail = false; // some header is there that only mail has
};

/// A message or one of its parts.
struct MailEntity {
    MailHeaders headers;
    std::string_view body = {}; // a part of the text
};

/// Splits a part at its first empty line; a line that is no header begins the body too. The text is borrowed.
[[nodiscard]] MailEntity mailEntityOf(std::string_view text);

/// The same for a message, before which a mailbox may have put a line of its own.
[[nodiscard]] MailEntity mailMessageOf(std::string_view text);

struct MailContentType {
    std::string type = "text/plain"; // in small letters
    std::string boundary = {};
    std::string charset = {};
    bool hasFileName = false;
    bool isFlowed = false;       // lines that end with a blank go on in the next
    bool dropsSoftBlank = false; // and lose that blank
};

/// Plain text where the value is missing or makes no sense.
[[nodiscard]] MailContentType mailContentType(const std::string& value);

struct MailDisposition {
    bool isAttachment = false;
    bool hasFileName = false;
};
[[nodiscard]] MailDisposition mailDisposition(const std::string& value);

/// The text of a header with its encoded words decoded.
[[nodiscard]] std::string mailHeaderText(std::string_view value);

/// The first sender of a From header as a person would call it: the name, else the address; empty for none.
[[nodiscard]] std::string mailSender(std::string_view value);

/// Nothing for what is no date and for years outside 1990 to 2100. Without a zone it is UTC.
[[nodiscard]] std::optional<Instant> mailDate(std::string_view value);

/// The first `maxBytes` of a body that base64 or quoted-printable have encoded, or nothing did.
[[nodiscard]] std::string mailBody(std::string_view body, const std::string& transferEncoding,
                                   std::size_t maxBytes);

/// `bytes` as UTF-8, where a part of a message says `charset` of itself, perhaps wrongly. Nothing for what is
/// no text.
[[nodiscard]] std::optional<std::string> mailText(std::string_view bytes, std::string_view charset);

} // namespace vesto::readers
