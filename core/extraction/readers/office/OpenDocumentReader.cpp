#include "core/extraction/readers/markup/ElementFilter.h"
#include "core/extraction/readers/markup/HTMLStyles.h"
#include "core/extraction/readers/office/HiddenColumns.h"
#include "core/extraction/readers/office/OfficePackage.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <iterator>
#include <map>
#include <set>
#include <utility>

namespace vesto::readers {
namespace {

// Never seen, or not where the text stands: comments, notes, deleted text, descriptions, phonetic guides,
// tables of contents, scripts, forms.
constexpr std::array<std::string_view, 14> unseen{"office:annotation",
                                                  "office:annotation-end",
                                                  "office:forms",
                                                  "office:scripts",
                                                  "presentation:notes",
                                                  "svg:desc",
                                                  "svg:title",
                                                  "table:shapes",
                                                  "table:tracked-changes",
                                                  "text:note",
                                                  "text:ruby-text",
                                                  "text:script",
                                                  "text:table-of-content",
                                                  "text:tracked-changes"};

// The styles of content.xml and styles.xml that hide what has them. Common styles are read first.
class HiddenStyles {
public:
    void enter(std::string_view name, const XMLAttributes& attributes) {
        if (name == "style:style") {
            m_style =
                key(attributes.find("style:family").value_or(""), attributes.find("style:name").value_or(""));
            const std::string parent = key(attributes.find("style:family").value_or(""),
                                           attributes.find("style:parent-style-name").value_or(""));
            for (std::set<std::string>* const inherited : {&m_hidden, &m_white, &m_grounds})
                if (inherited->contains(parent))
                    inherited->insert(m_style);
        } else if (!m_style.empty() && isHiding(attributes)) {
            m_hidden.insert(m_style);
        } else if (!m_style.empty() && name == "style:text-properties" && attributes.find("text:display")) {
            m_hidden.erase(m_style);
        }
        if (!m_style.empty() && name.ends_with("-properties"))
            enterColors(attributes);
    }

    void leave(std::string_view name) {
        if (name == "style:style")
            m_style.clear();
    }

    [[nodiscard]] bool contains(std::string_view family, std::string_view style) const {
        return !m_hidden.empty() && m_hidden.contains(key(family, style));
    }

    // Whether text of the style is white, or stands on a colour.
    [[nodiscard]] bool isWhite(std::string_view family, std::string_view style) const {
        return !m_white.empty() && m_white.contains(key(family, style));
    }
    [[nodiscard]] bool hasGround(std::string_view family, std::string_view style) const {
        return !m_grounds.empty() && m_grounds.contains(key(family, style));
    }

private:
    static std::string key(std::string_view family, std::string_view style) {
        return std::string(family) + '/' + std::string(style);
    }

    void enterColors(const XMLAttributes& attributes) {
        const auto set = [&](std::set<std::string>& styles, bool contained) {
            if (contained)
                styles.insert(m_style);
            else
                styles.erase(m_style);
        };
        if (const auto color = attributes.find("fo:color"))
            set(m_white, styleColor(*color).isLike(white));
        if (const auto ground = attributes.find("fo:background-color"))
            set(m_grounds, *ground != "transparent" && !styleColor(*ground).isLike(white));
    }

    static constexpr StyleColor white{true, 255, 255, 255};

    static bool isHiding(const XMLAttributes& attributes) {
        return attributes.has("text:display", "none") || attributes.has("table:display", "false") ||
               attributes.has("presentation:visibility", "hidden") || isTiny(attributes.find("fo:font-size"));
    }

    // Less than two points.
    static bool isTiny(const std::optional<std::string_view>& size) {
        if (!size.has_value() || !size->ends_with("pt"))
            return false;
        double points = 0;
        const auto [stop, error] = std::from_chars(size->data(), size->data() + size->size() - 2, points);
        return error == std::errc() && points < 2;
    }

    std::string m_style; // that is open
    std::set<std::string> m_hidden;
    std::set<std::string> m_white, m_grounds;
};

class StyleReader final : public XMLHandler {
public:
    explicit StyleReader(HiddenStyles& styles)
        : m_styles(styles) {}

    void start(std::string_view name, const XMLAttributes& attributes) override {
        m_styles.enter(name, attributes);
    }
    void characters(std::string_view) override {}
    void end(std::string_view name) override { m_styles.leave(name); }

private:
    HiddenStyles& m_styles;
};

// Text and slides: paragraphs and headings alike, in their order.
class TextFilter : public ParagraphFilter {
public:
    TextFilter(XMLText::Collector& collector, HiddenStyles styles)
        : ParagraphFilter(collector, maxCharacters)
        , m_styles(std::move(styles)) {}

    std::int64_t slides = 0; // seen so far, hidden ones included
    bool seesColors = true;  // what a slide paints behind its text is not known

protected:
    Verdict enter(std::string_view name, const XMLAttributes& attributes) override {
        if (std::find(unseen.begin(), unseen.end(), name) != unseen.end())
            return Verdict::skip;
        if (name.starts_with("style:"))
            m_styles.enter(name, attributes);
        if (name == "draw:page")
            ++slides;
        if (isHidden(name, attributes) || isUnseen(name, attributes))
            return Verdict::skip;
        enterGround(name, attributes);
        if (isParagraph(name)) {
            m_hiddenParagraphs.push_back(false);
        } else if (name == "draw:text-box") {
            openBox();
        } else if (name == "text:hidden-paragraph" && !m_hiddenParagraphs.empty() &&
                   isOn(attributes.find("text:is-hidden"), true)) {
            m_hiddenParagraphs.back() = true;
            collector().current.clear();
        }
        return Verdict::show;
    }

    void leave(std::string_view name) override {
        if (isParagraph(name) && !m_hiddenParagraphs.empty())
            m_hiddenParagraphs.pop_back();
        else if (name == "draw:text-box")
            closeBox();
        m_styles.leave(name);
        if (!m_grounds.empty() && depth() + 1 == m_grounds.back())
            m_grounds.pop_back();
        ParagraphFilter::leave(name);
    }

    void text(std::string_view text) override {
        if (!m_hiddenParagraphs.empty() && !m_hiddenParagraphs.back())
            ParagraphFilter::text(text);
    }

    [[nodiscard]] bool inParagraph() const { return !m_hiddenParagraphs.empty(); }

    static bool isParagraph(std::string_view name) { return name == "text:p" || name == "text:h"; }

    [[nodiscard]] std::string_view translated(std::string_view name) const override {
        return name == "text:h" ? "text:p" : name;
    }

    [[nodiscard]] bool isHidden(std::string_view name, const XMLAttributes& attributes) const {
        if (isParagraph(name))
            return m_styles.contains("paragraph", attributes.find("text:style-name").value_or(""));
        if (name == "text:span")
            return m_styles.contains("text", attributes.find("text:style-name").value_or(""));
        if (name == "draw:page")
            return m_styles.contains("drawing-page", attributes.find("draw:style-name").value_or(""));
        if (name == "table:table")
            return m_styles.contains("table", attributes.find("table:style-name").value_or(""));
        if (name == "text:hidden-text")
            return isOn(attributes.find("text:is-hidden"), true);
        if (name == "text:section")
            return attributes.has("text:display", "none") || (attributes.has("text:display", "condition") &&
                                                              isOn(attributes.find("text:is-hidden"), true));
        return name.starts_with("text:variable-") && attributes.has("text:display", "none");
    }

private:
    // White text on white paper. What a frame or a shape paints is not known either.
    [[nodiscard]] bool isUnseen(std::string_view name, const XMLAttributes& attributes) const {
        const bool isText = isParagraph(name) || name == "text:span" || name == "table:table-cell";
        if (!isText || !seesColors || !m_grounds.empty())
            return false;
        const std::string_view family = familyOf(name);
        const std::string_view style =
            attributes.find(family == "table-cell" ? "table:style-name" : "text:style-name").value_or("");
        return m_styles.isWhite(family, style) && !m_styles.hasGround(family, style);
    }

    void enterGround(std::string_view name, const XMLAttributes& attributes) {
        const bool isTable = name.starts_with("table:");
        const std::string_view style =
            attributes.find(isTable ? "table:style-name" : "text:style-name").value_or("");
        if (name.starts_with("draw:") || m_styles.hasGround(familyOf(name), style))
            m_grounds.push_back(depth());
    }

    static std::string_view familyOf(std::string_view name) {
        if (isParagraph(name))
            return "paragraph";
        if (name == "text:span")
            return "text";
        return name.starts_with("table:") ? name.substr(6) : std::string_view("section");
    }

    HiddenStyles m_styles;
    std::vector<bool> m_hiddenParagraphs; // for each open paragraph
    std::vector<int> m_grounds;           // depths of the open elements that may paint behind their text
};

// Sheets: a line for each row of the first one that is shown, the paragraphs of its cells with a space
// between.
class RowFilter final : public TextFilter {
public:
    using TextFilter::TextFilter;

    std::vector<std::string> names; // of the sheets that are shown

private:
    Verdict enter(std::string_view name, const XMLAttributes& attributes) override {
        if (name == "table:table" && m_table == 0) {
            if (isHidden(name, attributes))
                return Verdict::skip;
            names.emplace_back(attributes.find("table:name").value_or(""));
            if (names.size() > 1)
                return Verdict::skip;
            m_table = depth();
        } else if (name == "table:table-column") {
            addColumns(attributes);
        } else if (name == "table:table-row") {
            m_column = 0;
            if (!isShown(attributes))
                return Verdict::skip;
        } else if (name == "table:table-cell" || name == "table:covered-table-cell") {
            const bool hidden = m_hidden.contains(m_column + 1);
            m_column += repeated(attributes);
            if (hidden)
                return Verdict::skip;
        } else if (isParagraph(name) && !collector().current.empty()) {
            collector().current += ' ';
        }
        return TextFilter::enter(name, attributes);
    }

    void leave(std::string_view name) override {
        TextFilter::leave(name);
        if (name == "table:table" && depth() + 1 == m_table)
            m_table = 0;
        // The other sheets still have their names to give.
        else if (name == "table:table-row" && m_table != 0 &&
                 std::cmp_greater_equal(collector().out.size(), maxSheetRows))
            hideUntilEndOf(m_table);
    }

    static bool isShown(const XMLAttributes& attributes) {
        return attributes.find("table:visibility").value_or("visible") == "visible";
    }

    // How many columns stand in one element; at most more than a sheet can have.
    static std::int64_t repeated(const XMLAttributes& attributes) {
        const std::string_view text = attributes.find("table:number-columns-repeated").value_or("1");
        std::int64_t count = 1;
        std::from_chars(text.data(), text.data() + text.size(), count);
        return std::clamp<std::int64_t>(count, 1, 1'000'000);
    }

    void addColumns(const XMLAttributes& attributes) {
        const std::int64_t count = repeated(attributes);
        if (!isShown(attributes))
            m_hidden.add(m_columns + 1, m_columns + count);
        m_columns += count;
    }

    int m_table = 0; // depth of the open sheet, or 0
    HiddenColumns m_hidden;
    std::int64_t m_columns = 0; // declared so far
    std::int64_t m_column = 0;  // of the row, passed so far
};

} // namespace

std::optional<OfficeText> readOpenDocument(OfficePackage& package, OfficeFormat format) {
    const std::optional<ZipMember> content = package.part("content.xml");
    if (!content.has_value())
        return std::nullopt;
    HiddenStyles styles;
    if (const auto part = package.part("styles.xml")) {
        StyleReader reader(styles);
        parseXML(part->view(), reader);
    }
    OfficeText result;
    readOpenDocumentProperties(package, result);
    const bool isSpreadsheet = format == OfficeFormat::openDocumentSpreadsheet;
    XMLText::Collector collector(isSpreadsheet ? "table:table-row" : "text:p");
    if (isSpreadsheet) {
        RowFilter filter(collector, std::move(styles));
        if (!parseXML(content->view(), filter))
            return std::nullopt;
        result.lines = ParagraphFilter::tidied(collector.out, true);
        if (!result.lines.empty()) {
            std::vector<std::string> names = ParagraphFilter::tidied(filter.names, true);
            std::move(names.begin(), names.end(), std::back_inserter(result.lines));
        }
        return result;
    }
    TextFilter filter(collector, std::move(styles));
    filter.seesColors = format == OfficeFormat::openDocumentText;
    if (!parseXML(content->view(), filter))
        return std::nullopt;
    result.lines = ParagraphFilter::tidied(collector.out, true);
    if (format == OfficeFormat::openDocumentPresentation) {
        result.pageCount = std::nullopt;
        if (filter.slides > 0 && !filter.isDone())
            result.pageCount = filter.slides;
    }
    return result;
}

} // namespace vesto::readers
