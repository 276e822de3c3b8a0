#include "core/extraction/readers/markup/HTMLStyles.h"

#include "core/extraction/readers/Ascii.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <utility>

namespace vesto::readers {
namespace {

constexpr std::size_t maxRules = 20'000;
constexpr int maxClasses = 16; // of one element that are looked up
constexpr std::size_t maxSelectorBytes = 200;

// ---- Lengths and colours ----

/// A length such as «-9999px» or «1.5pt» in points; nothing for what is no number.
std::optional<double> pointsOf(std::string_view value) {
    const bool isNegative = value.starts_with('-');
    double number = 0, scale = 1;
    std::size_t i = isNegative ? 1 : 0;
    const std::size_t begin = i;
    bool inFraction = false;
    for (; i < value.size() && i < 20 && (ascii::isDigit(value[i]) || value[i] == '.'); ++i) {
        if (value[i] == '.') {
            inFraction = true;
            continue;
        }
        number = number * 10 + (value[i] - '0');
        scale *= inFraction ? 10 : 1;
    }
    if (i == begin)
        return std::nullopt;
    const std::string_view unit = value.substr(i);
    double points = number / scale;
    if (unit.starts_with("px"))
        points *= 0.75;
    else if (unit.starts_with("em") || unit.starts_with("rem"))
        points *= 12;
    else if (unit.starts_with('%'))
        points *= 0.12;
    return isNegative ? -points : points;
}

struct NamedColor {
    std::string_view name;
    std::uint32_t value;
};
constexpr std::array<NamedColor, 20> namedColors{{
    {"aqua", 0x00FFFF},      {"black", 0x000000},  {"blue", 0x0000FF},       {"fuchsia", 0xFF00FF},
    {"gainsboro", 0xDCDCDC}, {"gray", 0x808080},   {"green", 0x008000},      {"grey", 0x808080},
    {"ivory", 0xFFFFF0},     {"lime", 0x00FF00},   {"maroon", 0x800000},     {"navy", 0x000080},
    {"olive", 0x808000},     {"purple", 0x800080}, {"red", 0xFF0000},        {"silver", 0xC0C0C0},
    {"snow", 0xFFFAFA},      {"white", 0xFFFFFF},  {"whitesmoke", 0xF5F5F5}, {"yellow", 0xFFFF00},
}};

StyleColor colorOf(std::uint32_t value) {
    return {true, static_cast<std::uint8_t>(value >> 16U), static_cast<std::uint8_t>(value >> 8U),
            static_cast<std::uint8_t>(value)};
}

StyleColor hexColor(std::string_view digits) {
    std::uint32_t value = 0;
    if ((digits.size() != 3 && digits.size() != 6) ||
        std::ranges::any_of(digits, [](char c) { return ascii::hexValue(c) < 0; }))
        return {};
    for (const char digit : digits)
        for (std::size_t i = 0; i < 6 / digits.size(); ++i)
            value = value << 4U | static_cast<std::uint32_t>(ascii::hexValue(digit));
    return colorOf(value);
}

/// The numbers of «rgb(255, 255, 255)»; one with a share of transparency is not known.
StyleColor functionColor(std::string_view value) {
    const std::size_t open = value.find('(');
    if (!value.starts_with("rgb") || open == value.npos)
        return {};
    std::array<int, 4> numbers{};
    std::size_t count = 0;
    for (std::size_t i = open + 1; i < value.size() && value[i] != ')';) {
        if (!ascii::isDigit(value[i])) {
            if (value[i] == '%' || value[i] == '.' || value[i] == '/')
                return {};
            ++i;
            continue;
        }
        int number = 0;
        for (; i < value.size() && ascii::isDigit(value[i]); ++i)
            number = std::min(number * 10 + (value[i] - '0'), 255);
        if (count == numbers.size())
            return {};
        numbers[count++] = number;
    }
    if (count < 3 || (count == 4 && numbers[3] != 1))
        return {};
    return {true, static_cast<std::uint8_t>(numbers[0]), static_cast<std::uint8_t>(numbers[1]),
            static_cast<std::uint8_t>(numbers[2])};
}

// ---- Declarations ----

enum Property : unsigned {
    display = 1,
    visibility = 2,
    officeHide = 4,
    opacity = 8,
    fontSize = 16,
    place = 32,
    textColor = 64,
};

void declare(StyleEffect& effect, unsigned property, bool hides) {
    effect.declared |= property;
    effect.hiding = (effect.hiding & ~property) | (hides ? property : 0U);
}

void addDeclaration(StyleEffect& effect, std::string_view property, std::string_view value) {
    const auto isBelow = [value](double limit) {
        const std::optional<double> points = pointsOf(value);
        return points && *points < limit;
    };
    if (property == "display") {
        declare(effect, display, value.starts_with("none"));
    } else if (property == "visibility") {
        declare(effect, visibility, value.starts_with("hidden") || value.starts_with("collapse"));
    } else if (property == "mso-hide") {
        declare(effect, officeHide, value.starts_with("all"));
    } else if (property == "opacity") {
        declare(effect, opacity, isBelow(0.05));
    } else if (property == "font-size") {
        declare(effect, fontSize, isBelow(2));
    } else if (property == "left" || property == "top" || property == "text-indent" ||
               property == "margin-left") {
        if (isBelow(-700))
            declare(effect, place, true);
    } else if (property == "color") {
        declare(effect, textColor, value.starts_with("transparent"));
        effect.color = styleColor(value);
    } else if (property == "background-color" || property == "background") {
        const std::string_view first = value.substr(0, value.find(' '));
        if (value.find("url") != value.npos || value.find("gradient") != value.npos)
            effect.background = StyleColor();
        else if (first != "none" && first != "transparent" && first != "inherit" && first != "initial")
            effect.background = styleColor(first.find('(') != first.npos ? value : first);
    } else if (property == "background-image" && !value.starts_with("none")) {
        effect.background = StyleColor();
    }
}

std::string withoutComments(std::string_view css) {
    std::string result;
    while (true) {
        const std::size_t begin = css.find("/*");
        result += css.substr(0, begin);
        if (begin == css.npos)
            return result;
        const std::size_t end = css.find("*/", begin + 2);
        if (end == css.npos)
            return result;
        css.remove_prefix(end + 2);
    }
}

/// Where the block that opens before `from` ends.
std::size_t endOfBlock(std::string_view css, std::size_t from) {
    std::size_t depth = 1;
    for (std::size_t i = from; i < css.size(); ++i) {
        if (css[i] == '{')
            ++depth;
        else if (css[i] == '}' && --depth == 0)
            return i;
    }
    return css.size();
}

bool isSimple(std::string_view selector) {
    return !selector.empty() && selector.size() <= maxSelectorBytes &&
           std::ranges::all_of(selector,
                               [](char c) {
                                   return ascii::isAlphanumeric(c) || c == '.' || c == '#' || c == '-' ||
                                          c == '_' || static_cast<unsigned char>(c) >= 0x80;
                               }) &&
           std::ranges::count_if(selector, [](char c) { return c == '.' || c == '#'; }) <= 1;
}

/// «DIV.Note» as «div.Note».
std::string keyOf(std::string_view selector) {
    const std::size_t tagEnd = std::min(selector.find_first_of(".#"), selector.size());
    return ascii::lowered(selector.substr(0, tagEnd)) + std::string(selector.substr(tagEnd));
}

} // namespace

bool StyleColor::isLike(const StyleColor& other) const {
    constexpr int leastDifference = 16; // of 255
    return isKnown && other.isKnown && std::abs(red - other.red) < leastDifference &&
           std::abs(green - other.green) < leastDifference && std::abs(blue - other.blue) < leastDifference;
}

void StyleEffect::override(const StyleEffect& later) {
    hiding = (hiding & ~later.declared) | later.hiding;
    declared |= later.declared;
    if (later.color)
        color = later.color;
    if (later.background)
        background = later.background;
}

StyleColor styleColor(std::string_view value) {
    value = ascii::trimmed(value);
    if (const std::size_t important = value.find('!'); important != value.npos)
        value = ascii::trimmed(value.substr(0, important));
    if (value.starts_with('#'))
        return hexColor(value.substr(1));
    if (value.starts_with("rgb"))
        return functionColor(value);
    const auto named = std::ranges::find_if(
        namedColors, [&](const NamedColor& color) { return ascii::equalsIgnoringCase(color.name, value); });
    return named == namedColors.end() ? StyleColor() : colorOf(named->value);
}

StyleEffect effectOfStyle(std::string_view declarations) {
    StyleEffect effect;
    while (!declarations.empty()) {
        const std::size_t end = std::min(declarations.find(';'), declarations.size());
        const std::string_view declaration = declarations.substr(0, end);
        declarations.remove_prefix(std::min(end + 1, declarations.size()));
        const std::size_t colon = declaration.find(':');
        if (colon != declaration.npos)
            addDeclaration(effect, ascii::lowered(ascii::trimmed(declaration.substr(0, colon))),
                           ascii::lowered(ascii::trimmed(declaration.substr(colon + 1))));
    }
    return effect;
}

void StyleSheet::add(std::string_view sheet) {
    const std::string text = withoutComments(sheet);
    std::string_view css = text;
    while (true) {
        const std::size_t open = css.find_first_of("{;");
        if (open == css.npos)
            return;
        const std::string_view head = ascii::trimmed(css.substr(0, open));
        if (css[open] == ';') { // @import and its like
            m_mayPaintMore = m_mayPaintMore || ascii::startsWithIgnoringCase(head, "@import");
            css.remove_prefix(open + 1);
            continue;
        }
        const std::size_t end = endOfBlock(css, open + 1);
        const std::string_view block = css.substr(open + 1, end - open - 1);
        if (head.starts_with('@'))
            m_mayPaintMore = m_mayPaintMore || ascii::findIgnoringCase(block, "background") != block.npos;
        else
            addRule(head, block);
        css.remove_prefix(std::min(end + 1, css.size()));
    }
}

void StyleSheet::addRule(std::string_view selectors, std::string_view declarations) {
    const StyleEffect effect = effectOfStyle(declarations);
    if (effect.declared == 0 && !effect.background)
        return;
    while (!selectors.empty()) {
        const std::size_t end = std::min(selectors.find(','), selectors.size());
        const std::string_view selector = ascii::trimmed(selectors.substr(0, end));
        selectors.remove_prefix(std::min(end + 1, selectors.size()));
        if (isSimple(selector) && m_rules.size() < maxRules)
            m_rules[keyOf(selector)].override(effect);
        else if (effect.background)
            m_mayPaintMore = true;
    }
}

StyleEffect StyleSheet::effectOn(std::string_view tag, std::string_view classes,
                                 std::string_view identifier) const {
    StyleEffect effect;
    const auto add = [&](const std::string& key) {
        if (const auto rule = m_rules.find(key); rule != m_rules.end())
            effect.override(rule->second);
    };
    if (tag.size() > maxSelectorBytes || m_rules.empty())
        return effect;
    const std::string name = ascii::lowered(tag);
    add(name);
    for (int i = 0; i < maxClasses && !classes.empty(); ++i) {
        classes = ascii::trimmed(classes);
        const std::string_view word = classes.substr(0, classes.find_first_of(" \t\r\n\f"));
        classes.remove_prefix(word.size());
        if (word.empty() || word.size() > maxSelectorBytes)
            continue;
        add("." + std::string(word));
        add(name + "." + std::string(word));
    }
    if (!identifier.empty() && identifier.size() <= maxSelectorBytes) {
        add("#" + std::string(identifier));
        add(name + "#" + std::string(identifier));
    }
    return effect;
}

} // namespace vesto::readers
