#pragma once
#include "services/ipc/Question.h"

#include <string_view>

namespace vesto::reader {

/// What a jailed child does: reads the file as the question asks and writes the answer. Ends the process with
/// `coldStatus` where text is to be recognised and `warm` is false. Gives the exit status.
[[nodiscard]] int answerQuestion(const ipc::Question& question, int file, int answer, bool warm);

/// Writes everything, or ends the process where nobody takes it.
void writeAll(int fd, std::string_view bytes);

/// Loads, in the server, what every child would load again: time zone, patterns. Looks at no file of a user.
void warmCore();

} // namespace vesto::reader
