#include "core/naming/NameTemplate.h"

#include "core/naming/ScalarWalk.h"
#include "core/support/Text.h"
#include "core/support/Unicode.h"
#include "core/support/UnicodeDates.h"

#include <algorithm>
#include <array>

namespace vesto {
namespace {

constexpr std::string_view defaultDateFormat = "yyyy-MM-dd";
constexpr std::string_view defaultPattern = "{date:yyyy-MM-dd} {title}";
constexpr std::array<std::string_view, 4> knownTokens{"title", "date", "kind", "original"};

/// A match of `\{([a-zA-Z]+)(?::([^{}]*))?\}`; what stands in other braces is plain text.
struct Token {
    std::string_view name;
    std::string_view argument;
    std::size_t begin = 0; // byte offsets in the pattern
    std::size_t end = 0;
};

bool isAsciiLetter(char byte) {
    return (byte >= 'a' && byte <= 'z') || (byte >= 'A' && byte <= 'Z');
}

std::optional<Token> tokenAt(std::string_view pattern, std::size_t brace) {
    std::size_t offset = brace + 1;
    while (offset < pattern.size() && isAsciiLetter(pattern[offset]))
        ++offset;
    Token token{.name = pattern.substr(brace + 1, offset - brace - 1), .argument = {}, .begin = brace};
    if (token.name.empty() || offset == pattern.size())
        return std::nullopt;
    if (pattern[offset] == ':') {
        const std::size_t next = std::min(pattern.find_first_of("{}", offset), pattern.size());
        token.argument = pattern.substr(offset + 1, next - offset - 1);
        offset = next;
    }
    if (offset == pattern.size() || pattern[offset] != '}')
        return std::nullopt;
    token.end = offset + 1;
    return token;
}

/// The first token that begins at or after `from`.
std::optional<Token> nextToken(std::string_view pattern, std::size_t from) {
    for (std::size_t brace = pattern.find('{', from); brace != std::string_view::npos;
         brace = pattern.find('{', brace + 1))
        if (auto token = tokenAt(pattern, brace))
            return token;
    return std::nullopt;
}

std::string tokenValue(const Token& token, const NameTemplate::Context& context) {
    if (token.name == "title")
        return context.title;
    if (token.name == "kind")
        return std::string(NameTemplate::kindWord(context.kind, context.locale));
    if (token.name == "original")
        return context.originalBaseName;
    if (token.name == "date" && context.date)
        return unicode::formatDate(*context.date, token.argument.empty() ? defaultDateFormat : token.argument,
                                   context.locale, context.timeZone);
    return {};
}

std::string substituted(std::string_view pattern, const NameTemplate::Context& context) {
    std::string result;
    std::size_t copied = 0;
    while (const auto token = nextToken(pattern, copied)) {
        result += pattern.substr(copied, token->begin - copied);
        result += tokenValue(*token, context);
        copied = token->end;
    }
    return result.append(pattern.substr(copied));
}

bool isSeparator(char32_t scalar) {
    return std::u32string_view(U"-–—_·").contains(scalar);
}

/// Without the matches of `\(\s*\)|\[\s*\]`, the brackets that an absent value leaves.
std::string withoutEmptyBrackets(std::string_view text) {
    std::string result;
    result.reserve(text.size());
    for (std::size_t offset = 0; offset < text.size();) {
        const char byte = text[offset];
        if (byte == '(' || byte == '[') {
            const std::size_t inner = skipForward(text, offset + 1, unicode::isWhiteSpace);
            if (inner < text.size() && text[inner] == (byte == '(' ? ')' : ']')) {
                offset = inner + 1;
                continue;
            }
        }
        result += byte;
        ++offset;
    }
    return result;
}

/// A run of separators and white space as long as it goes: " - " where it holds two separators or more, else
/// its blanks collapsed.
struct SeparatorRun {
    std::string collapsed;      // with every two or more white-space scalars made one space
    std::string blanks;         // white space not yet in `collapsed`
    std::size_t blankCount = 0; // scalars of `blanks`
    std::size_t separators = 0;

    void add(char32_t scalar) {
        if (isSeparator(scalar)) {
            flushBlanks();
            ++separators;
            unicode::append(collapsed, scalar);
        } else {
            ++blankCount;
            unicode::append(blanks, scalar);
        }
    }

    void flushBlanks() {
        collapsed += blankCount >= 2 ? " " : blanks;
        blanks.clear();
        blankCount = 0;
    }

    void endInto(std::string& result) {
        flushBlanks();
        result += separators >= 2 ? " - " : collapsed;
        collapsed.clear();
        separators = 0;
    }
};

/// `(?:\s*[-–—_·]\s*){2,}` made " - ", then `\s{2,}` made " ", in one linear walk.
std::string withTidySeparators(std::string_view text) {
    std::string result;
    result.reserve(text.size());
    SeparatorRun run;
    for (std::size_t offset = 0; offset < text.size();) {
        const unicode::Scalar scalar = unicode::scalarAt(text, offset);
        offset += scalar.size;
        if (isSeparator(scalar.value) || unicode::isWhiteSpace(scalar.value)) {
            run.add(scalar.value);
            continue;
        }
        run.endInto(result);
        unicode::append(result, scalar.value);
    }
    run.endInto(result);
    return result;
}

/// The dashes longer than the hyphen stay at the edges, unlike in the text.
std::string_view trimmedSeparators(std::string_view text) {
    const auto isEdge = [](char32_t scalar) { return std::u32string_view(U" -_·").contains(scalar); };
    return withoutLast(withoutFirst(text, isEdge), isEdge);
}

struct KindWords {
    std::string_view french;
    std::string_view english;
};

KindWords kindWords(ContentSummary::Kind kind) {
    switch (kind) {
    case ContentSummary::Kind::screenshot:
        return {"Capture", "Screenshot"};
    case ContentSummary::Kind::photo:
        return {"Photo", "Photo"};
    case ContentSummary::Kind::image:
        return {"Image", "Image"};
    case ContentSummary::Kind::pdf:
        return {"PDF", "PDF"};
    case ContentSummary::Kind::document:
        return {"Document", "Document"};
    case ContentSummary::Kind::spreadsheet:
        return {"Tableur", "Spreadsheet"};
    case ContentSummary::Kind::presentation:
        return {"Présentation", "Presentation"};
    case ContentSummary::Kind::email:
        return {"E-mail", "Email"};
    case ContentSummary::Kind::audio:
        return {"Audio", "Audio"};
    case ContentSummary::Kind::video:
        return {"Vidéo", "Video"};
    case ContentSummary::Kind::ebook:
        return {"Livre", "Book"};
    }
    return {};
}

} // namespace

std::string NameTemplate::ValidationError::message() const {
    switch (code) {
    case Code::unknownToken: {
        std::string message(text("Jeton inconnu : {%1}."));
        if (const std::size_t place = message.find("%1"); place != std::string::npos)
            message.replace(place, 2, token);
        return message;
    }
    case Code::missingTitle:
        return std::string(text("Le modèle doit contenir {title}."));
    case Code::unbalancedBraces:
        return std::string(text("Accolades non appariées."));
    }
    return {};
}

NameTemplate NameTemplate::defaultTemplate() {
    return {std::string(defaultPattern)};
}

std::expected<void, NameTemplate::ValidationError> NameTemplate::validate() const {
    if (std::ranges::count(pattern, '{') != std::ranges::count(pattern, '}'))
        return std::unexpected(ValidationError{.code = ValidationError::Code::unbalancedBraces, .token = {}});
    bool hasTitle = false;
    std::size_t offset = 0;
    while (const auto token = nextToken(pattern, offset)) {
        if (std::ranges::find(knownTokens, token->name) == knownTokens.end())
            return std::unexpected(ValidationError{.code = ValidationError::Code::unknownToken,
                                                   .token = std::string(token->name)});
        hasTitle = hasTitle || token->name == "title";
        offset = token->end;
    }
    if (!hasTitle)
        return std::unexpected(ValidationError{.code = ValidationError::Code::missingTitle, .token = {}});
    return {};
}

std::string NameTemplate::render(const Context& context, const NamingPolicy& policy) const {
    const std::string raw = substituted(isValid() ? std::string_view(pattern) : defaultPattern, context);
    return policy.sanitizeFileName(trimmedSeparators(withTidySeparators(withoutEmptyBrackets(raw))));
}

std::string_view NameTemplate::kindWord(ContentSummary::Kind kind, const Locale& locale) {
    const KindWords words = kindWords(kind);
    return locale.languageCode() == "fr" ? words.french : words.english;
}

} // namespace vesto
