#pragma once
#include "core/support/Time.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace vesto::readers {

enum class OfficeFormat {
    wordprocessing,
    presentation,
    spreadsheet, // Office Open XML
    openDocumentText,
    openDocumentSpreadsheet,
    openDocumentPresentation
};

/// What naming can use of an office document.
struct OfficeText {
    std::optional<std::string> title;      // of the metadata; trimmed, never empty
    std::vector<std::string> lines;        // trimmed, none empty, valid UTF-8, about `maxCharacters` in all
    std::optional<Instant> date;           // of creation, between 1990 and 2100
    std::optional<std::int64_t> pageCount; // of slides in a presentation

    bool operator==(const OfficeText&) const = default;
};

/// Reads a document in reading order, without what its reader does not see: hidden text, rows, columns,
/// sheets and slides, tracked deletions, field codes, comments, notes and tables of contents. Nothing where
/// the bytes are no archive or hold no main part that can be read, which is also so for an encrypted
/// document.
[[nodiscard]] std::optional<OfficeText> readOffice(std::string_view archive, OfficeFormat format);

} // namespace vesto::readers
