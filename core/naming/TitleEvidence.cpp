#include "core/naming/TitleEvidence.h"

#include "core/extraction/MonthNames.h"
#include "core/naming/ConfidenceScorer.h"
#include "core/naming/JudgedWords.h"
#include "core/support/Unicode.h"

#include <algorithm>
#include <utility>

namespace vesto {
namespace {

constexpr std::size_t excerptLength = 24; // grapheme clusters on each side

struct Place {
    std::size_t begin = 0; // bytes
    std::size_t end = 0;
};

/// A token with the word of the unfolded text that it comes from.
struct Token {
    std::string folded;
    Place place;
};

std::vector<Token> tokensIn(std::string_view text) {
    std::vector<Token> tokens;
    judged::forEachToken(text, [&](std::string_view word) {
        const auto begin = static_cast<std::size_t>(word.data() - text.data());
        const std::string folded = unicode::folded(word);
        judged::forEachToken(folded, [&](std::string_view token) {
            tokens.push_back({std::string(token), {begin, begin + word.size()}});
        });
    });
    return tokens;
}

/// The last `count` grapheme clusters.
std::string_view graphemeSuffix(std::string_view text, std::size_t count) {
    std::size_t begin = text.size();
    for (; count > 0 && begin > 0; --count)
        begin -= unicode::lastGraphemeSize(text.substr(0, begin));
    return text.substr(begin);
}

/// Where in the source each kind of match stands.
class Finder {
public:
    Finder(std::string_view text, std::string source)
        : m_textSize(text.size())
        , m_source(std::move(source))
        , m_tokens(tokensIn(m_source)) {
        judged::forEachDate(m_source, [this](const judged::DatePlace& date) { m_dates.push_back(date); });
    }

    [[nodiscard]] std::optional<Place> find(std::string_view token, judged::Match match) const {
        switch (match) {
        case judged::Match::exact:
            return tokenWhere([&](const Token& each) { return each.folded == token; });
        case judged::Match::near:
            return tokenWhere([&](const Token& each) { return judged::areNear(token, each.folded); });
        case judged::Match::month: {
            const auto date =
                std::ranges::find(m_dates, monthOfName(token),
                                  [](const judged::DatePlace& each) { return std::optional(each.month); });
            return date == m_dates.end() ? std::nullopt : std::optional(Place{date->begin, date->end});
        }
        case judged::Match::absent:
            break;
        }
        return std::nullopt;
    }

    void describe(TitleEvidence::Word& word, const Place& place) const {
        const std::string_view source = m_source;
        const std::string_view earlier = source.substr(0, place.begin);
        const bool isInText = place.begin < m_textSize;
        std::size_t begin = isInText ? earlier.rfind('\n') + 1 : m_textSize + 1; // npos + 1 is 0
        begin = std::min(begin, place.begin);
        const std::size_t end =
            std::max(std::min(source.find('\n', place.end), lineEnd(isInText)), place.end);
        if (isInText)
            word.line = 1 + static_cast<std::size_t>(std::ranges::count(earlier, '\n'));
        const std::string_view left = source.substr(begin, place.begin - begin);
        const std::string_view leftShown = graphemeSuffix(left, excerptLength);
        const std::string_view right = source.substr(place.end, end - place.end);
        const std::string_view rightShown = unicode::graphemePrefix(right, excerptLength);
        word.before = unicode::repaired(leftShown);
        if (leftShown.size() < left.size())
            word.before.insert(0, "…");
        word.found = unicode::repaired(source.substr(place.begin, place.end - place.begin));
        word.after = unicode::repaired(rightShown);
        if (rightShown.size() < right.size())
            word.after += "…";
    }

private:
    [[nodiscard]] std::size_t lineEnd(bool isInText) const { return isInText ? m_textSize : m_source.size(); }

    template <typename Test> [[nodiscard]] std::optional<Place> tokenWhere(Test test) const {
        const auto token = std::ranges::find_if(m_tokens, test);
        return token == m_tokens.end() ? std::nullopt : std::optional(token->place);
    }

    std::size_t m_textSize;
    std::string m_source;
    std::vector<Token> m_tokens;
    std::vector<judged::DatePlace> m_dates;
};

TitleEvidence::Match matchOf(judged::Match match) {
    switch (match) {
    case judged::Match::exact:
        return TitleEvidence::Match::exact;
    case judged::Match::near:
        return TitleEvidence::Match::near;
    case judged::Match::month:
        return TitleEvidence::Match::month;
    case judged::Match::absent:
        break;
    }
    return TitleEvidence::Match::absent;
}

/// The title's tokens as the score takes them, each with the word as it is written. Folding a whole title can
/// cut it otherwise than folding its words; then the folded words must do.
std::vector<std::pair<std::string, std::string>> wordsOf(std::string_view title) {
    std::vector<std::pair<std::string, std::string>> words; // token, as written
    const std::string folded = unicode::folded(title);
    judged::forEachToken(folded, [&](std::string_view token) { words.emplace_back(token, token); });
    const std::vector<Token> written = tokensIn(title);
    const bool isAlike = std::ranges::equal(
        words, written, [](const auto& word, const Token& token) { return word.first == token.folded; });
    if (isAlike)
        for (std::size_t index = 0; index < words.size(); ++index) {
            const Place& place = written[index].place;
            words[index].second = unicode::repaired(title.substr(place.begin, place.end - place.begin));
        }
    return words;
}

} // namespace

std::size_t TitleEvidence::judgedCount() const {
    return static_cast<std::size_t>(std::ranges::count_if(words, &Word::isJudged));
}

std::size_t TitleEvidence::foundCount() const {
    return static_cast<std::size_t>(std::ranges::count_if(words, &Word::isFound));
}

void keepOnlyText(ContentSummary& summary) {
    const std::string shown = summary.text();
    summary.lines.clear();
    for (std::size_t start = 0; start <= shown.size();) {
        const std::size_t end = std::min(shown.find('\n', start), shown.size());
        summary.lines.push_back(shown.substr(start, end - start));
        start = end + 1;
    }
}

TitleEvidence evidence(std::string_view title, const ContentSummary& summary) {
    const std::string text = summary.text();
    TitleEvidence result{.isGrounded = judged::canGround(text, summary.documentTitle,
                                                         ConfidenceScorer().minLettersForGrounding)};
    const auto words = wordsOf(title);
    std::vector<std::string_view> tokens;
    for (const auto& [token, written] : words) {
        if (!judged::isMeaningful(token))
            continue;
        const bool isPeriod = judged::namesPeriod(token, summary.period);
        result.words.push_back(
            {.word = written,
             .match = isPeriod ? TitleEvidence::Match::period : TitleEvidence::Match::absent});
        if (!isPeriod)
            tokens.push_back(token);
    }
    const std::string source = judged::sourceOf(text, summary.documentTitle);
    const auto matches = judged::matchesOf(tokens, source);
    const Finder finder(text, source);
    std::size_t index = 0;
    for (TitleEvidence::Word& word : result.words) {
        if (!word.isJudged())
            continue;
        word.match = matchOf(matches[index]);
        if (const auto place = finder.find(tokens[index], matches[index]))
            finder.describe(word, *place);
        ++index;
    }
    return result;
}

} // namespace vesto
