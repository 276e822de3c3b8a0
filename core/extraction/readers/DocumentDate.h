#pragma once
#include "core/support/Time.h"

#include <optional>
#include <string_view>

namespace vesto::readers {

/// Whether a document carries dates of that year by intention.
[[nodiscard]] constexpr bool isDocumentYear(int year) {
    return year >= 1990 && year <= 2100;
}

/// The moment that an ISO 8601 date names, as "2024-03-05T10:20:30Z", "2024-03-05T10:20:30.5+02:00" or
/// "2024-03-05"; a blank may stand for the T and before the zone. Without a zone it is local time. White
/// space around it is ignored. Nothing for any other text and for years outside 1990 to 2100.
[[nodiscard]] std::optional<Instant> documentDate(std::string_view text);

} // namespace vesto::readers
