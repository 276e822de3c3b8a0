#include "core/extraction/readers/pictures/RecognizedLine.h"

#include "core/support/Unicode.h"

#include <algorithm>
#include <cstddef>
#include <iterator>
#include <ranges>
#include <string_view>

namespace vesto::readers {
namespace {

// Measured on rendered pages, screenshots and photos: a word that is right has 75 and more nearly always,
// what is read out of a texture below 66 and mostly below 40.
constexpr float sureOfShortWord = 88;
constexpr float sureOfWord = 70;
constexpr float leastOfShortWord = 50; // in a good line, where longer ones are at worst misspelt
constexpr float leastInLine = 60;
constexpr float leastOfSign = 80; // a word without letters and digits: icons are read as such
constexpr float goodLine = 80;

std::size_t lettersOf(std::string_view word) {
    std::size_t count = 0;
    for (std::size_t i = 0; i < word.size();) {
        const auto [scalar, size] = unicode::scalarAt(word, i);
        if (unicode::isAlphanumeric(scalar))
            ++count;
        i += size;
    }
    return count;
}

/// A word that makes its line one of text.
bool isAnchor(const RecognizedWord& word) {
    const std::size_t letters = lettersOf(word.text);
    return (letters >= 3 && word.confidence >= sureOfWord) ||
           (letters >= 2 && word.confidence >= sureOfShortWord);
}

/// What the edge of a box or a column becomes.
bool isRule(std::string_view word) {
    return word.find_first_not_of("|_[]=~") == std::string_view::npos;
}

} // namespace

float RecognizedLine::confidence() const {
    float sum = 0;
    float length = 0;
    for (const RecognizedWord& word : words) {
        const auto letters = static_cast<float>(lettersOf(word.text));
        sum += word.confidence * letters;
        length += letters;
    }
    return length > 0 ? sum / length : 0;
}

std::string trustedText(const RecognizedLine& line) {
    if (std::ranges::none_of(line.words, isAnchor))
        return {};
    const bool isGood = line.confidence() >= goodLine;
    const auto isTrusted = [&](const RecognizedWord& word) {
        const std::size_t letters = lettersOf(word.text);
        if (letters == 0)
            return word.confidence >= leastOfSign && !isRule(word.text);
        return (isGood && letters >= 3) || word.confidence >= (isGood ? leastOfShortWord : leastInLine);
    };
    // Icons and bullets stand at the ends of a line; what is short and weak within a good one is text.
    const auto first = std::ranges::find_if(line.words, isTrusted);
    auto last = line.words.end();
    while (last != first && !isTrusted(*std::prev(last)))
        --last;
    std::string text;
    for (const RecognizedWord& word : std::ranges::subrange(first, last)) {
        if (!isTrusted(word) && (!isGood || lettersOf(word.text) == 0))
            continue;
        if (!text.empty())
            text += ' ';
        text += word.text;
    }
    return text;
}

bool looksLikeText(const RecognizedLine& line) {
    std::size_t letters = 0;
    for (const RecognizedWord& word : line.words)
        letters += word.confidence >= 30 ? lettersOf(word.text) : 0;
    return letters >= 4;
}

} // namespace vesto::readers
