#pragma once
#include "core/extraction/DocumentPeriodExtractor.h"
#include "core/support/Locale.h"
#include "core/support/Time.h"

#include <cstddef>
#include <cstdint>
#include <limits>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace vesto {

/// What was read from a file: the one value that readers produce and naming consumes.
struct ContentSummary {
    enum class Kind {
        screenshot,
        photo,
        image,
        pdf,
        document,
        spreadsheet,
        presentation,
        email,
        audio,
        video,
        ebook
    };

    /// What a picture shows, by its classifier.
    struct Label {
        std::string identifier; // English, as "cat"
        double confidence = 0;  // 0 to 1
        bool operator==(const Label&) const = default;
    };

    Kind kind = Kind::document;
    std::vector<std::string> lines{};           // in reading order
    std::vector<Label> labels{};                // in the order of the classifier
    std::optional<std::string> documentTitle{}; // of the file's own metadata
    std::optional<std::int64_t> pageCount{};
    std::optional<std::int64_t> pixelWidth{};
    std::optional<std::int64_t> pixelHeight{};
    std::optional<Instant> date{}; // that the file carries
    bool textFromOCR = false;
    std::optional<DocumentPeriodExtractor::Period> period{};
    std::optional<Seconds> duration{}; // always finite
    bool textFromSpeech = false;
    std::optional<std::string> formatName{}; // as "Excel"

    bool operator==(const ContentSummary&) const = default;

    /// The lines joined by line feeds, at most 1,500 characters (grapheme clusters); a cut line has no
    /// ellipsis.
    [[nodiscard]] std::string text() const;

    /// Letters and marks in `text()`, in scalars.
    [[nodiscard]] std::size_t letterCount() const;

    /// The description of the file that a language model is given, in French; `locale` decides only the
    /// month's name. A duration that is not finite is a programming error.
    [[nodiscard]] std::string modelPrompt(const Locale& locale) const;
};

/// Letters and marks (general categories L and M) in `text`, in scalars; counting ends at `enough`.
[[nodiscard]] std::size_t letterCount(std::string_view text,
                                      std::size_t enough = std::numeric_limits<std::size_t>::max());

/// The enumerator's own name, as it is stored.
[[nodiscard]] std::string_view rawValue(ContentSummary::Kind kind);
[[nodiscard]] std::optional<ContentSummary::Kind> kindOfRawValue(std::string_view rawValue);

} // namespace vesto
