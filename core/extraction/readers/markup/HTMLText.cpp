#include "core/extraction/readers/markup/HTMLText.h"

#include "core/extraction/readers/Ascii.h"
#include "core/extraction/readers/DocumentDate.h"
#include "core/extraction/readers/LineCollector.h"
#include "core/extraction/readers/markup/HTMLEntities.h"
#include "core/extraction/readers/markup/HTMLStyles.h"
#include "core/extraction/readers/markup/HTMLTags.h"
#include "core/extraction/readers/text/CharsetDetector.h"
#include "core/support/Unicode.h"

#include <algorithm>
#include <array>
#include <vector>

namespace vesto::readers {
namespace {

constexpr std::size_t firstBytes = 1 << 20; // most pages say enough in them
constexpr std::size_t maxDepth = 256;       // open elements that matter
constexpr std::size_t maxLineBytes = 4 * maxCharacters;
constexpr std::size_t maxStyleBytes = 4 << 20;

class HTMLScanner {
public:
    explicit HTMLScanner(std::string_view text, std::string_view styles = {})
        : m_text(text)
        , m_isXML(text.starts_with("<?xml"))
        , m_knowsLinks(!styles.empty()) {
        m_styles.add(styles.substr(0, maxStyleBytes));
    }

    DocumentText run() {
        while (m_offset < m_text.size() && !m_lines.full())
            step();
        breakLine();
        for (const std::string& line : m_navigation.take())
            m_lines.add(line);
        return {.title = std::move(m_title), .lines = m_lines.take(), .date = m_date};
    }

    [[nodiscard]] bool full() const { return m_lines.full(); }

private:
    /// What a text is written in and on. A text whose colour nobody stated can be seen.
    struct Colors {
        StyleColor text = {};
        StyleColor ground = {true, 255, 255, 255};
    };

    struct OpenElement {
        std::string_view name;
        TagTraits traits;
        bool hides = false;
        Colors around = {};
    };

    void step() {
        const char c = m_text[m_offset];
        if (c == '<') {
            const Tag tag = tagAt(m_text.substr(m_offset));
            if (tag.size > 0) {
                m_offset += tag.size;
                if (!tag.name.empty())
                    tag.isEnd ? endTag(tag) : startTag(tag);
                return;
            }
        }
        if (c == '&') {
            const auto [scalar, size] = entityAt(m_text.substr(m_offset));
            if (size > 0) {
                m_offset += size;
                show(scalar);
                return;
            }
        }
        const auto [scalar, size] = unicode::scalarAt(m_text, m_offset);
        m_offset += size;
        show(scalar);
    }

    // ---- Text ----

    [[nodiscard]] bool isHidden() const { return m_hiding > 0 || m_overflow > 0; }

    void show(char32_t scalar) {
        if (isHidden() || m_isUnseen)
            return;
        if (scalar == '\n' && m_keepingLines > 0) {
            breakLine();
        } else if (scalar == 0xA0 || (scalar < 0x80 && ascii::isSpace(static_cast<char>(scalar)))) {
            m_blank = true;
        } else if (scalar != 0xAD && scalar != 0x200B && scalar != 0xFEFF &&
                   scalar != 0x34F) { // seen by nobody
            if (m_blank && !m_line.empty())
                m_line += ' ';
            m_blank = false;
            unicode::append(m_line, scalar);
            if (m_line.size() > maxLineBytes)
                breakLine();
        }
    }

    void breakLine() {
        (m_navigating > 0 ? m_navigation : m_lines).add(m_line);
        m_line.clear();
        m_blank = false;
    }

    // ---- Elements ----

    void startTag(const Tag& tag) {
        const TagTraits traits = traitsOf(tag.name);
        if (traits.isBlock || ascii::equalsIgnoringCase(tag.name, "br"))
            breakLine();
        if ((traits.roles & tableCell) != 0)
            m_blank = true;
        if (ascii::equalsIgnoringCase(tag.name, "meta"))
            readMeta(tag.attributes);
        else if (ascii::equalsIgnoringCase(tag.name, "link"))
            readLink(tag.attributes);
        if (traits.isVoid)
            return;
        if (traits.isTransparent) {
            setColors(effectOn(tag));
            return;
        }
        const bool isEmpty = tag.closesItself && (m_isXML || m_drawings > 0);
        if (traits.isRaw) {
            if (!isEmpty)
                skipRaw(tag);
            return;
        }
        closeImplied(traits);
        if (isEmpty)
            return;
        const StyleEffect effect = effectOn(tag);
        const bool hides = traits.hides || effect.hides() || isHiddenByAttributes(tag);
        const bool colors = (effect.color || effect.background) && m_open.size() < maxDepth;
        // Inline elements matter only where they hide or colour, or stand in what is hidden and may be of the
        // same name.
        if (hides || isBox(traits) || isHidden() || colors)
            push({tag.name, traits, hides, m_colors}, effect);
    }

    void endTag(const Tag& tag) {
        const TagTraits traits = traitsOf(tag.name);
        if (traits.isBlock || ascii::equalsIgnoringCase(tag.name, "br"))
            breakLine();
        if ((traits.roles & tableCell) != 0)
            m_blank = true;
        if (traits.isVoid || traits.isTransparent)
            return;
        if (m_overflow > 0) {
            --m_overflow;
            return;
        }
        for (std::size_t i = m_open.size(); i-- > 0;) {
            const OpenElement& open = m_open[i];
            if (ascii::equalsIgnoringCase(open.name, tag.name)) {
                closeFrom(i);
                return;
            }
            // An inline element cannot close a block around it, nor a block the cell that it stands in.
            const bool isInline = !isBox(traits) && !traits.hides;
            const bool isCell = (open.traits.roles & tableCell) != 0;
            if (isInline ? isBox(open.traits) : isCell && (traits.roles & ofTable) == 0)
                return;
        }
    }

    static constexpr unsigned ofTable = tableCell | tableRow | tableGroup | tableBox;

    static bool isBox(const TagTraits& traits) { return traits.isBlock || (traits.roles & tableCell) != 0; }

    static bool isHiddenByAttributes(const Tag& tag) {
        return attribute(tag.attributes, "hidden").has_value() ||
               (ascii::equalsIgnoringCase(tag.name, "dialog") && !attribute(tag.attributes, "open"));
    }

    /// What its attributes and the page's rules do to an element.
    [[nodiscard]] StyleEffect effectOn(const Tag& tag) const {
        const auto value = [&](std::string_view name) {
            return attribute(tag.attributes, name).value_or(std::string_view());
        };
        StyleEffect effect;
        if (!m_styles.empty())
            effect = m_styles.effectOn(tag.name, value("class"), value("id"));
        if (tag.attributes.empty())
            return effect;
        if (const std::string_view ground = value("bgcolor"); !ground.empty())
            effect.background = styleColor(ground);
        const bool isFont = ascii::equalsIgnoringCase(tag.name, "font");
        if (const std::string_view color = isFont ? value("color") : value("text"); !color.empty())
            effect.color = styleColor(color);
        if (!value("background").empty()) // a picture
            effect.background = StyleColor();
        if (const std::string_view style = value("style"); !style.empty())
            effect.override(effectOfStyle(decodeEntities(style)));
        return effect;
    }

    void setColors(const StyleEffect& effect) {
        if (effect.color)
            m_colors.text = *effect.color;
        if (effect.background)
            m_colors.ground = *effect.background;
        m_isUnseen = m_colors.text.isLike(m_colors.ground);
    }

    void push(const OpenElement& element, const StyleEffect& effect) {
        if (m_open.size() >= maxDepth) {
            ++m_overflow;
            return;
        }
        count(element, 1);
        m_open.push_back(element);
        setColors(effect);
    }

    void closeFrom(std::size_t index) {
        while (m_open.size() > index) {
            count(m_open.back(), -1);
            m_colors = m_open.back().around;
            m_open.pop_back();
            setColors({});
        }
    }

    void count(const OpenElement& element, int by) {
        m_hiding += element.hides ? by : 0;
        m_keepingLines += element.traits.keepsLines ? by : 0;
        m_navigating += element.traits.isNavigation ? by : 0;
        m_drawings += element.traits.isDrawing ? by : 0;
    }

    /// Ends what the start of an element ends without an end tag: a paragraph, an item, a cell, a row.
    void closeImplied(const TagTraits& traits) {
        const unsigned roles = traits.roles;
        if ((roles & listItem) != 0)
            closeNearest(listItem, listBox);
        if ((roles & definition) != 0)
            closeNearest(definition, definitionBox);
        if ((roles & tableCell) != 0)
            closeNearest(tableCell, tableRow | tableBox);
        if ((roles & tableRow) != 0)
            closeNearest(tableRow, tableBox);
        if ((roles & tableGroup) != 0)
            closeNearest(tableGroup, tableBox);
        if (traits.isBlock)
            closeNearest(paragraph, 0);
    }

    /// Closes the innermost element of the roles `closes`. Looks no further than one of the roles `within`;
    /// without those, no further than another block.
    void closeNearest(unsigned closes, unsigned within) {
        const std::size_t end = m_open.size() - std::min<std::size_t>(m_open.size(), 64);
        for (std::size_t i = m_open.size(); i-- > end;) {
            const TagTraits& open = m_open[i].traits;
            if ((open.roles & closes) != 0) {
                closeFrom(i);
                return;
            }
            if (within != 0 ? (open.roles & within) != 0 : isBox(open) || open.hides)
                return;
        }
    }

    /// Jumps behind the content of a script, a style sheet or a title; behind everything where nothing ends
    /// it, but a title without an end is passed over.
    void skipRaw(const Tag& tag) {
        const std::string_view name = tag.name;
        const bool isTitle = ascii::equalsIgnoringCase(name, "title");
        if (isTitle && (m_noTitleEnds || m_drawings > 0))
            return;
        const std::size_t end = ascii::findIgnoringCase(m_text, "</" + std::string(name), m_offset);
        if (end == m_text.npos && isTitle) {
            m_noTitleEnds = true;
            return;
        }
        const std::string_view content = m_text.substr(m_offset, end == m_text.npos ? 0 : end - m_offset);
        if (isTitle && !m_title && !isHidden())
            m_title = usableTitle(decodeEntities(content.substr(0, maxLineBytes)));
        if (ascii::equalsIgnoringCase(name, "style"))
            readStyles(tag, content);
        m_offset = std::min(end, m_text.size());
    }

    void readStyles(const Tag& tag, std::string_view css) {
        const std::string_view media = attribute(tag.attributes, "media").value_or("all");
        if (ascii::findIgnoringCase(media, "all") == media.npos &&
            ascii::findIgnoringCase(media, "screen") == media.npos)
            return;
        m_styles.add(css.substr(0, maxStyleBytes - std::min(maxStyleBytes, m_styleBytes)));
        m_styleBytes += css.size();
        if (m_styles.mayPaintMore())
            forgetGround();
    }

    /// Another style sheet may paint what is written on.
    void readLink(std::string_view attributes) {
        const std::string_view relation = attribute(attributes, "rel").value_or(std::string_view());
        if (!m_knowsLinks && ascii::findIgnoringCase(relation, "stylesheet") != relation.npos)
            forgetGround();
    }

    void forgetGround() {
        m_colors.ground = StyleColor();
        setColors({});
    }

    void readMeta(std::string_view attributes) {
        const std::optional<std::string_view> content = attribute(attributes, "content");
        std::optional<std::string_view> name = attribute(attributes, "property");
        if (!name)
            name = attribute(attributes, "name");
        if (m_date || !content || !name)
            return;
        constexpr std::array<std::string_view, 5> names{"article:published_time", "date", "dc.date",
                                                        "dcterms.date", "dcterms.created"};
        if (std::ranges::any_of(names, [&](auto known) { return ascii::equalsIgnoringCase(known, *name); }))
            m_date = documentDate(*content);
    }

    std::string_view m_text;
    std::size_t m_offset = 0;
    bool m_isXML;
    bool m_knowsLinks; // the style sheets that it links to
    bool m_noTitleEnds = false;

    std::string m_line;
    bool m_blank = false; // before the next character
    LineCollector m_lines;
    LineCollector m_navigation;
    std::optional<std::string> m_title;
    std::optional<Instant> m_date;

    StyleSheet m_styles;
    std::size_t m_styleBytes = 0;
    Colors m_colors;
    bool m_isUnseen = false; // the text has the colour of its ground

    std::vector<OpenElement> m_open;
    std::size_t m_overflow = 0; // elements beyond maxDepth; what stands in them is left out
    int m_hiding = 0, m_keepingLines = 0, m_navigating = 0, m_drawings = 0; // open elements that do so
};

/// The charset that the document names in its first bytes; empty for none.
std::string_view declaredCharset(std::string_view bytes) {
    const std::string_view head = bytes.substr(0, 4096);
    if (head.starts_with("<?xml")) {
        const std::string_view declaration = head.substr(5, head.find("?>") - 5);
        if (const auto encoding = attribute(declaration, "encoding"))
            return *encoding;
    }
    for (std::size_t i = ascii::findIgnoringCase(head, "<meta"); i != head.npos;
         i = ascii::findIgnoringCase(head, "<meta", i + 1)) {
        const Tag tag = tagAt(head.substr(i));
        if (const auto charset = attribute(tag.attributes, "charset"))
            return *charset;
        const std::string_view content = attribute(tag.attributes, "content").value_or(std::string_view());
        const std::size_t named = ascii::findIgnoringCase(content, "charset=");
        if (named != content.npos) {
            const std::string_view value = content.substr(named + 8);
            return value.substr(0, value.find_first_of("; \"'"));
        }
    }
    return {};
}

} // namespace

DocumentText htmlText(std::string_view text) {
    return HTMLScanner(text).run();
}

std::optional<DocumentText> readHTML(std::string_view bytes, std::string_view styles) {
    for (const std::size_t limit : {firstBytes, bytes.size()}) {
        const std::string_view part = wholeSequences(bytes, limit);
        const std::optional<std::string> text = decodeText(part, declaredCharset(bytes));
        if (!text)
            return std::nullopt;
        HTMLScanner scanner(*text, styles);
        DocumentText document = scanner.run();
        if (scanner.full() || limit >= bytes.size())
            return document;
    }
    return std::nullopt;
}

} // namespace vesto::readers
