#pragma once
#include "core/naming/ContentSummary.h"
#include "core/naming/NamingPolicy.h"
#include "core/support/Locale.h"
#include "core/support/Time.h"

#include <expected>
#include <optional>
#include <string>
#include <string_view>

namespace vesto {

/// The user's pattern for names, with the tokens {title}, {date}, {date:FORMAT}, {kind} and {original}.
struct NameTemplate {
    std::string pattern;

    struct Context {
        std::string title; // cleaned
        std::optional<Instant> date;
        ContentSummary::Kind kind = ContentSummary::Kind::document;
        std::string originalBaseName;
        Locale locale{"fr_FR"};
        std::string timeZone; // Olson name; empty: the system's
    };

    struct ValidationError {
        enum class Code { unknownToken, missingTitle, unbalancedBraces };
        Code code = Code::missingTitle;
        std::string token; // of unknownToken

        bool operator==(const ValidationError&) const = default;

        /// In French, for the user.
        [[nodiscard]] std::string message() const;
    };

    bool operator==(const NameTemplate&) const = default;

    [[nodiscard]] static NameTemplate defaultTemplate();

    [[nodiscard]] std::expected<void, ValidationError> validate() const;
    [[nodiscard]] bool isValid() const { return validate().has_value(); }

    /// The cleaned base name; an invalid pattern renders as the default one. May be empty.
    [[nodiscard]] std::string render(const Context& context, const NamingPolicy& policy) const;

    /// French for the language code "fr", English for every other.
    [[nodiscard]] static std::string_view kindWord(ContentSummary::Kind kind, const Locale& locale);
};

} // namespace vesto
