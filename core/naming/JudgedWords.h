#pragma once
#include "core/extraction/DocumentPeriodExtractor.h"
#include "core/support/Unicode.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

/// How the words of a title are held against a text: what the score counts and what explains it must never
/// disagree. Words are tokens: runs of letters, marks and digits of a folded text.
namespace vesto::judged {

/// Calls `take` with each token of `folded`, in order.
template <typename Take> void forEachToken(std::string_view folded, Take take) {
    std::size_t start = 0;
    for (std::size_t offset = 0; offset < folded.size();) {
        const unicode::Scalar scalar = unicode::scalarAt(folded, offset);
        if (!unicode::isAlphanumeric(scalar.value)) {
            if (offset > start)
                take(folded.substr(start, offset - start));
            start = offset + scalar.size;
        }
        offset += scalar.size;
    }
    if (folded.size() > start)
        take(folded.substr(start));
}

using Period = std::optional<DocumentPeriodExtractor::Period>;

/// A title that repeats the period, which may have been appended to it, proves nothing by that.
[[nodiscard]] bool namesPeriod(std::string_view token, const Period& period);

/// Long enough, and no word that every text has.
[[nodiscard]] bool isMeaningful(std::string_view token);

/// The meaningful tokens but for those that name the period.
[[nodiscard]] std::vector<std::string_view> tokensOf(std::string_view foldedTitle, const Period& period);

/// Two tokens that begin alike and are about as long, as a singular and its plural.
[[nodiscard]] bool areNear(std::string_view left, std::string_view right);

/// The text and the metadata title, as the words are looked for in them.
[[nodiscard]] std::string sourceOf(std::string_view text, const std::optional<std::string>& documentTitle);

/// Whether a file says enough for a title to be judged by its words.
[[nodiscard]] bool canGround(std::string_view text, const std::optional<std::string>& documentTitle,
                             std::int64_t minLetters);

enum class Match {
    exact, // the word itself
    near,  // one that is near to it
    month, // a month's name, by a date in digits
    absent,
};
/// How a source holds each token, in their order: the first of the matches that there is.
[[nodiscard]] std::vector<Match> matchesOf(const std::vector<std::string_view>& tokens,
                                           std::string_view source);

/// A date in digits, in bytes of the text.
struct DatePlace {
    std::size_t begin = 0;
    std::size_t end = 0;
    int month = 0;
};
/// All dates in digits that name a month.
void forEachDate(std::string_view text, const std::function<void(const DatePlace&)>& take);

} // namespace vesto::judged
