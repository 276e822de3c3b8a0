#include "core/support/UnicodePattern.h"

#include "core/support/Assert.h"

#include <unicode/regex.h>
#include <unicode/utext.h>

namespace vesto::unicode {
namespace {

/// A UTF-8 text as ICU reads it, without a copy.
class BorrowedText {
public:
    explicit BorrowedText(std::string_view text) {
        UErrorCode status = U_ZERO_ERROR;
        utext_openUTF8(&m_text, text.data(), static_cast<std::int64_t>(text.size()), &status);
    }
    ~BorrowedText() { utext_close(&m_text); }
    BorrowedText(const BorrowedText&) = delete;
    BorrowedText& operator=(const BorrowedText&) = delete;
    [[nodiscard]] UText* get() { return &m_text; }

private:
    UText m_text = UTEXT_INITIALIZER;
};

/// One run of a pattern over one text. Offsets of a UTF-8 text are bytes.
class Run {
public:
    Run(const icu::RegexPattern& pattern, std::string_view text, std::size_t from)
        : m_text(text)
        , m_borrowed(text) {
        UErrorCode status = U_ZERO_ERROR;
        m_matcher.reset(pattern.matcher(status));
        VESTO_ASSERT(U_SUCCESS(status));
        m_matcher->useTransparentBounds(true);
        m_matcher->reset(m_borrowed.get());
        m_from = from;
    }

    std::optional<Pattern::Match> next() {
        UErrorCode status = U_ZERO_ERROR;
        const bool found = m_started ? m_matcher->find(status) != 0
                                     : m_matcher->find(static_cast<std::int64_t>(m_from), status) != 0;
        m_started = true;
        if (!found || U_FAILURE(status)) // a failure: the pattern asked for more stack than ICU allows
            return std::nullopt;
        Pattern::Match match;
        match.begin = static_cast<std::size_t>(m_matcher->start64(status));
        match.end = static_cast<std::size_t>(m_matcher->end64(status));
        for (std::int32_t group = 1; group <= m_matcher->groupCount(); ++group) {
            const std::int64_t start = m_matcher->start64(group, status);
            const std::int64_t end = m_matcher->end64(group, status);
            if (start < 0)
                match.groups.emplace_back();
            else
                match.groups.emplace_back(
                    m_text.substr(static_cast<std::size_t>(start), static_cast<std::size_t>(end - start)));
        }
        return match;
    }

private:
    std::string_view m_text;
    BorrowedText m_borrowed;
    std::unique_ptr<icu::RegexMatcher> m_matcher;
    std::size_t m_from = 0;
    bool m_started = false;
};

} // namespace

struct Pattern::Compiled {
    std::unique_ptr<const icu::RegexPattern> pattern;
};

Pattern::Pattern(std::string_view expression, Case sensitivity) {
    UErrorCode status = U_ZERO_ERROR;
    UParseError where;
    const auto text = icu::UnicodeString::fromUTF8(
        icu::StringPiece(expression.data(), static_cast<std::int32_t>(expression.size())));
    const std::uint32_t flags = sensitivity == Case::insensitive ? UREGEX_CASE_INSENSITIVE : 0;
    auto compiled = std::make_unique<Compiled>();
    compiled->pattern.reset(icu::RegexPattern::compile(text, flags, where, status));
    VESTO_ASSERT(U_SUCCESS(status));
    m_compiled = std::move(compiled);
}

Pattern::~Pattern() = default;
Pattern::Pattern(Pattern&&) noexcept = default;
Pattern& Pattern::operator=(Pattern&&) noexcept = default;

std::optional<Pattern::Match> Pattern::find(std::string_view text, std::size_t from) const {
    return Run(*m_compiled->pattern, text, from).next();
}

std::vector<Pattern::Match> Pattern::findAll(std::string_view text) const {
    std::vector<Match> matches;
    Run run(*m_compiled->pattern, text, 0);
    while (auto match = run.next())
        matches.push_back(std::move(*match));
    return matches;
}

std::string Pattern::replaceAll(std::string_view text, std::string_view replacement) const {
    std::string result;
    std::size_t kept = 0;
    for (const Match& match : findAll(text)) {
        result.append(text.substr(kept, match.begin - kept));
        result.append(replacement);
        kept = match.end;
    }
    result.append(text.substr(kept));
    return result;
}

} // namespace vesto::unicode
