#pragma once
#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace vesto::unicode {

/// A regular expression in ICU syntax, compiled once, matched on UTF-8. Immutable and thread-safe.
///
/// A pattern whose work grows faster than its text has no place on text of a file: write the search by hand
/// and hold it against the pattern in a test.
class Pattern {
public:
    enum class Case { sensitive, insensitive };

    struct Match {
        std::size_t begin = 0; // byte offsets
        std::size_t end = 0;
        std::vector<std::optional<std::string_view>> groups; // of 1, 2, …; they point into the searched text
    };

    /// `expression` must be valid; a wrong one is a programming error.
    explicit Pattern(std::string_view expression, Case sensitivity = Case::sensitive);
    ~Pattern();
    Pattern(Pattern&&) noexcept;
    Pattern& operator=(Pattern&&) noexcept;

    /// The first match that begins at or after byte `from`. What stands before `from` is seen by \b and
    /// look-behind.
    [[nodiscard]] std::optional<Match> find(std::string_view text, std::size_t from = 0) const;

    /// All matches, left to right, none overlapping.
    [[nodiscard]] std::vector<Match> findAll(std::string_view text) const;

    [[nodiscard]] bool matchesIn(std::string_view text) const { return find(text).has_value(); }

    /// Every match replaced by `replacement`, which is taken as it stands.
    [[nodiscard]] std::string replaceAll(std::string_view text, std::string_view replacement) const;

private:
    struct Compiled;
    std::unique_ptr<const Compiled> m_compiled;
};

} // namespace vesto::unicode
