#pragma once
#include "core/support/Locale.h"

#include <string>

namespace vesto {

/// What a model is told before the summary of a file: in French for French titles, otherwise in English, with
/// the title's language named in it. The same language gives the same bytes, so that their evaluated state
/// can be kept.
[[nodiscard]] std::string modelInstructions(const Locale& language);

} // namespace vesto
