#pragma once
#include "core/extraction/SummarizerError.h"
#include "core/naming/ConfidenceScorer.h"
#include "core/support/Printable.h" // for all who print
#include "core/support/Time.h"

#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>

/// What the command line says to people, in French.
namespace vesto::cli {

/// The name of a file, printable.
[[nodiscard]] std::string shownName(const std::filesystem::path& path);

/// "55 %", with a narrow no-break space.
[[nodiscard]] std::string percentage(double share);

/// "1,9 s", with a no-break space.
[[nodiscard]] std::string secondsWords(Seconds time);

/// "1,1 Go" or "284 Mo", with a no-break space; powers of ten.
[[nodiscard]] std::string sizeWords(std::uint64_t bytes);

[[nodiscard]] std::string_view sourceWords(ConfidenceScorer::Source source);

[[nodiscard]] std::string messageOf(const SummarizerError& error);

} // namespace vesto::cli
