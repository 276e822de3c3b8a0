#pragma once
#include <string>
#include <string_view>

/// The single steps of cleaning a title. Each gives what its pattern (ICU syntax) would give, in linear time:
/// as patterns, some of them would take quadratic time on a long run of blanks or digits. Pure and
/// thread-safe. The views point into the argument, which is one line of valid UTF-8.
namespace vesto::titleCleanup {

/// Without a match of `^(titre|title|nom|name)\s*:\s*` in any case.
[[nodiscard]] std::string_view withoutLabel(std::string_view line);

/// Without a match of `^(capture d['’]écran|screenshot)\s+(de|d['’]|of)\s+` in any case.
[[nodiscard]] std::string_view withoutScreenshotPhrase(std::string_view line);

/// Without the extensions png, jpg, jpeg, heic, pdf, gif, tiff, webp, txt, docx, doc, each looked for once,
/// in that order and in any case.
[[nodiscard]] std::string_view withoutExtensions(std::string_view line);

/// Without a match of `^\s*DATE\s*`, where DATE is
/// `(?:\d{1,2}[/.\-]\d{1,2}[/.\-]\d{2,4}|\d{4}[/.\-]\d{1,2}[/.\-]\d{1,2})(?:[\sT]+\d{1,2}[:h.]\d{2}(?:[:.]\d{2})?)?`.
[[nodiscard]] std::string_view withoutLeadingDate(std::string_view line);

/// Without a match of `\s*DATE\s*$`.
[[nodiscard]] std::string_view withoutTrailingDate(std::string_view line);

/// French elisions joined, and every straight apostrophe made typographic: the space in a match of
/// `\b([dDlLjJnNsScCmMtT]|qu|Qu) (?=[aeiouyhéèêàâîôûAEIOUYHÉÈÊÀÂÎÔÛ])` becomes "’" as well.
[[nodiscard]] std::string withTypographicApostrophes(std::string_view line);

} // namespace vesto::titleCleanup
