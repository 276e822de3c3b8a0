#pragma once
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>

/// As much of style sheets as decides whether a text can be seen. Linear time.
namespace vesto::readers {

/// A colour as far as it is known: not where it comes from a picture or cannot be told.
struct StyleColor {
    bool isKnown = false;
    std::uint8_t red = 0, green = 0, blue = 0;

    /// Whether nobody could tell a text of one from a ground of the other.
    [[nodiscard]] bool isLike(const StyleColor& other) const;
};

/// What the declarations of one rule or attribute do.
struct StyleEffect {
    unsigned hiding = 0;   // bits of the properties that hide
    unsigned declared = 0; // and of those that are set at all
    std::optional<StyleColor> color = {};
    std::optional<StyleColor> background = {};

    /// Adds what comes later and so wins.
    void override(const StyleEffect& later);
    [[nodiscard]] bool hides() const { return hiding != 0; }
};

/// Of declarations as a style attribute or a rule has them, in any letter case.
[[nodiscard]] StyleEffect effectOfStyle(std::string_view declarations);

/// Of a colour as an attribute or a declaration writes it.
[[nodiscard]] StyleColor styleColor(std::string_view value);

/// The rules of a page's own style sheets whose selectors are a tag, a class, an identifier, or a tag with
/// one of these. Rules for print or for some screens only are left out.
class StyleSheet {
public:
    void add(std::string_view css);

    /// What the rules say of an element; its attributes as they are written.
    [[nodiscard]] StyleEffect effectOn(std::string_view tag, std::string_view classes,
                                       std::string_view identifier) const;

    [[nodiscard]] bool empty() const { return m_rules.empty(); }

    /// Whether a rule that is not understood may paint a ground.
    [[nodiscard]] bool mayPaintMore() const { return m_mayPaintMore; }

private:
    void addRule(std::string_view selectors, std::string_view declarations);

    std::unordered_map<std::string, StyleEffect> m_rules; // by selector, its tag in small letters
    bool m_mayPaintMore = false;
};

} // namespace vesto::readers
