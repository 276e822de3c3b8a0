#pragma once
#include "core/extraction/readers/mail/MailHeaders.h"

#include <string>
#include <vector>

namespace vesto::readers {

/// What a person would read of a message's body: its text, or the text of its HTML where it has no other; of
/// alternatives the plain one. Attachments are left out, messages inside it come with their headers. A
/// signature is left out, and so are quoted lines where enough stands beside them. As LineCollector leaves
/// lines. Linear time.
[[nodiscard]] std::vector<std::string> mailBodyLines(const MailEntity& message);

/// The subject, «De : » with the sender and «Date : » with the date, each where the message has it.
[[nodiscard]] std::vector<std::string> mailHeaderLines(const MailHeaders& headers);

} // namespace vesto::readers
