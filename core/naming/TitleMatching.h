#pragma once
#include "core/extraction/DocumentPeriodExtractor.h"
#include "core/support/Locale.h"

#include <array>
#include <cstdint>
#include <string>
#include <string_view>

/// What a model's title is brought in line with: the file's own spelling and the period it covers. Pure and
/// thread-safe, linear time.
namespace vesto {

/// A locale's month names as `withCasingOf` compares them: in lowercase.
[[nodiscard]] std::array<std::string, 12> foldedMonthNames(const Locale& locale);

/// The title with each word written as `text` writes it most often, where the two differ in letter case only
/// («Facture Edf» becomes «Facture EDF»). Left alone: the first word, words without a capital, and months.
[[nodiscard]] std::string withCasingOf(std::string_view text, std::string_view title,
                                       const std::array<std::string, 12>& foldedMonths);

/// The title with the period at its end, unless it names the month already. It is cut, at a word where that
/// costs less than half of it, so that the whole has at most `maxLength` grapheme clusters; a period longer
/// than that stands alone.
[[nodiscard]] std::string withPeriod(const DocumentPeriodExtractor::Period& period, std::string_view title,
                                     const Locale& locale, std::int64_t maxLength);

} // namespace vesto
