#pragma once
#include "core/extraction/SummarizerError.h"

#include <string>

namespace vesto {

/// Why a file could not be summarized, for people, in French; may quote the file's extension.
[[nodiscard]] std::string messageOf(const SummarizerError& error);

} // namespace vesto
