#include "core/extraction/readers/markup/ElementFilter.h"
#include "core/extraction/readers/office/OfficePackage.h"
#include "core/support/Unicode.h"

#include <algorithm>
#include <charconv>
#include <map>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace vesto::readers {
namespace {

constexpr int smallestVisibleSize = 4; // half points
constexpr std::size_t maxFields = 20;  // in one another, as many as the format's own program allows

// Whether a run property makes its run invisible.
bool isHiding(std::string_view name, const XMLAttributes& attributes) {
    if (name == "w:vanish")
        return isOn(attributes.find("w:val"), true);
    if (name != "w:sz")
        return false;
    const std::string_view text = attributes.find("w:val").value_or("");
    int size = smallestVisibleSize;
    std::from_chars(text.data(), text.data() + text.size(), size);
    return size < smallestVisibleSize;
}

// Whether six digits, as «FFFFFF», are white or nearly so.
bool isWhite(std::string_view color) {
    constexpr unsigned leastWhite = 0xF0; // of each part
    unsigned value = 0;
    const auto [stop, error] = std::from_chars(color.data(), color.data() + color.size(), value, 16);
    return color.size() == 6 && error == std::errc() && stop == color.data() + color.size() &&
           value >> 16U >= leastWhite && (value >> 8U & 0xFFU) >= leastWhite && (value & 0xFFU) >= leastWhite;
}

// Whether a "w:shd" or "w:highlight" paints anything but white behind a text.
bool paintsGround(const XMLAttributes& attributes) {
    const std::string_view value = attributes.find("w:val").value_or("");
    const std::string_view fill = attributes.find("w:fill").value_or("auto");
    const bool isPlain = value == "clear" || value == "nil" || value == "none";
    return !isPlain || (fill != "auto" && !isWhite(fill));
}

// The styles that hide what is written in them, by their own or by what they are based on.
class StyleCollector : public XMLHandler {
public:
    void start(std::string_view name, const XMLAttributes& attributes) override {
        if (name == "w:style") {
            m_style = attributes.find("w:styleId").value_or("");
        } else if (name == "w:basedOn") {
            m_bases.emplace(m_style, attributes.find("w:val").value_or(""));
        } else if (!m_style.empty() && isHiding(name, attributes)) {
            m_hidden.insert(m_style);
        } else if (!m_style.empty() && name == "w:vanish") {
            m_shown.insert(m_style);
        } else if (!m_style.empty() && name == "w:color") {
            m_colors.insert_or_assign(m_style, isWhite(attributes.find("w:val").value_or("")));
        } else if (!m_style.empty() && name == "w:shd" && paintsGround(attributes)) {
            m_grounds.insert(m_style);
        }
    }
    void characters(std::string_view) override {}
    void end(std::string_view name) override {
        if (name == "w:style")
            m_style.clear();
    }

    [[nodiscard]] bool isHidden(std::string_view style) const {
        for (int step = 0; step < maxSteps; ++step) {
            if (m_hidden.contains(style))
                return true;
            const auto base = m_bases.find(style);
            if (base == m_bases.end() || m_shown.contains(style))
                return false;
            style = base->second;
        }
        return false;
    }

    // Whether text of the style is white; nothing where it says no colour.
    [[nodiscard]] std::optional<bool> isWhiteText(std::string_view style) const {
        for (int step = 0; step < maxSteps; ++step) {
            if (const auto color = m_colors.find(style); color != m_colors.end())
                return color->second;
            const auto base = m_bases.find(style);
            if (base == m_bases.end())
                break;
            style = base->second;
        }
        return std::nullopt;
    }

    // Whether the style or one that it is based on paints behind its text.
    [[nodiscard]] bool hasGround(std::string_view style) const {
        for (int step = 0; step < maxSteps; ++step) {
            if (m_grounds.contains(style))
                return true;
            const auto base = m_bases.find(style);
            if (base == m_bases.end())
                return false;
            style = base->second;
        }
        return false;
    }

private:
    static constexpr int maxSteps = 11; // as many levels as the format allows; a loop ends as well

    std::string m_style;                               // that is open
    std::map<std::string, bool, std::less<>> m_colors; // white or not
    std::set<std::string, std::less<>> m_grounds;
    std::map<std::string, std::string, std::less<>> m_bases;
    std::set<std::string, std::less<>> m_hidden;
    std::set<std::string, std::less<>> m_shown;
};

class WordFilter final : public ParagraphFilter {
public:
    WordFilter(XMLText::Collector& collector, const StyleCollector& styles)
        : ParagraphFilter(collector, maxCharacters)
        , m_styles(styles) {}

private:
    // A field stands as begin, code, separator, result, end, each in a run of its own.
    struct Field {
        bool inCode = true;
        bool isTableOfContents = false; // known once its code is
        std::string code;               // its first letters
    };

    static bool isTableOfContents(std::string_view code) {
        return unicode::trimmedWhiteSpace(code).starts_with("TOC");
    }

    Verdict enter(std::string_view name, const XMLAttributes& attributes) override {
        if (name == "w:del" || name == "w:moveFrom" || name == "w:rt" || name == "mc:Fallback")
            return Verdict::skip;
        if (m_paragraphProperties != 0) {
            enterParagraphProperty(name, attributes);
            return Verdict::skip; // tab stops are not tabs
        }
        if (name == "w:p") {
            m_hiddenParagraphs.push_back(false);
            m_isWhiteParagraph = m_paragraphHasGround = false;
        } else if (name == "w:pPr") {
            m_paragraphProperties = depth();
        } else if (name == "w:r") {
            m_runs.push_back(depth());
            m_isWhiteRun.reset();
            m_runHasGround = false;
        } else if (name == "w:rPr") {
            m_runProperties = depth();
        } else if (isRunProperty()) {
            if (isHiding(name, attributes) ||
                (name == "w:rStyle" && m_styles.isHidden(attributes.find("w:val").value_or(""))))
                hideUntilEndOf(m_runs.back());
            else
                enterRunColor(name, attributes);
        } else {
            return enterRest(name, attributes);
        }
        return Verdict::show;
    }

    void enterParagraphProperty(std::string_view name, const XMLAttributes& attributes) {
        const std::string_view value = attributes.find("w:val").value_or("");
        if (name == "w:pStyle" && !m_hiddenParagraphs.empty()) {
            m_hiddenParagraphs.back() = m_styles.isHidden(value);
            m_isWhiteParagraph = m_styles.isWhiteText(value).value_or(false);
            m_paragraphHasGround = m_paragraphHasGround || m_styles.hasGround(value);
        } else if (name == "w:shd") {
            m_paragraphHasGround = m_paragraphHasGround || paintsGround(attributes);
        }
    }

    void enterRunColor(std::string_view name, const XMLAttributes& attributes) {
        const std::string_view value = attributes.find("w:val").value_or("");
        if (name == "w:color")
            m_isWhiteRun = isWhite(value);
        else if (name == "w:shd" || name == "w:highlight")
            m_runHasGround = m_runHasGround || paintsGround(attributes);
        else if (name == "w:rStyle") {
            m_isWhiteRun = m_styles.isWhiteText(value);
            m_runHasGround = m_runHasGround || m_styles.hasGround(value);
        }
    }

    // White text is seen only on what is painted behind it; what a table's style or a box paints is not
    // known.
    [[nodiscard]] bool isUnseen() const {
        return m_isWhiteRun.value_or(m_isWhiteParagraph) && !m_runHasGround && !m_paragraphHasGround &&
               !m_pageHasGround && m_boxes == 0 &&
               std::find(m_tables.begin(), m_tables.end(), true) == m_tables.end();
    }

    Verdict enterRest(std::string_view name, const XMLAttributes& attributes) {
        if (name == "w:fldChar") {
            enterFieldMark(attributes);
        } else if (name == "w:instrText") {
            m_inCode = true;
        } else if (name == "w:fldSimple") {
            return isTableOfContents(attributes.find("w:instr").value_or("")) ? Verdict::skip : Verdict::show;
        } else if (name == "w:sdt") {
            m_controls.push_back(depth());
        } else if (name == "w:docPartGallery") {
            if (!m_controls.empty() && attributes.has("w:val", "Table of Contents"))
                hideUntilEndOf(m_controls.back());
        } else if (name == "w:txbxContent") {
            openBox();
            ++m_boxes;
        } else if (name == "w:noBreakHyphen" && collector().depth >= 1 && !isMuted()) {
            collector().current += '-';
        } else if (name == "w:tbl") {
            m_tables.push_back(false);
        } else if (!m_tables.empty() &&
                   (name == "w:tblStyle" || (name == "w:shd" && paintsGround(attributes)))) {
            m_tables.back() = true;
        } else if (name == "w:background") {
            m_pageHasGround = !isWhite(attributes.find("w:color").value_or("FFFFFF"));
        }
        return Verdict::show;
    }

    void enterFieldMark(const XMLAttributes& attributes) {
        const std::string_view mark = attributes.find("w:fldCharType").value_or("");
        if (mark == "begin") {
            if (m_fields.size() < maxFields)
                m_fields.emplace_back();
            else
                ++m_fieldsBeyond;
        } else if (m_fieldsBeyond > 0) {
            m_fieldsBeyond -= mark == "end" ? 1U : 0U;
        } else if (m_fields.empty()) {
            return;
        } else if (mark == "separate") {
            m_fields.back().inCode = false;
            m_fields.back().isTableOfContents = isTableOfContents(m_fields.back().code);
        } else if (mark == "end") {
            m_fields.pop_back();
        }
    }

    void leave(std::string_view name) override {
        if (name == "w:pPr")
            m_paragraphProperties = 0;
        else if (name == "w:r" && !m_runs.empty())
            m_runs.pop_back();
        else if (name == "w:rPr")
            m_runProperties = 0;
        else if (name == "w:instrText")
            m_inCode = false;
        else if (name == "w:sdt" && !m_controls.empty())
            m_controls.pop_back();
        else if (name == "w:tbl" && !m_tables.empty())
            m_tables.pop_back();
        else if (name == "w:txbxContent") {
            closeBox();
            --m_boxes;
        } else if (name == "w:p")
            leaveParagraph();
        ParagraphFilter::leave(name);
    }

    void leaveParagraph() {
        if (!m_hiddenParagraphs.empty())
            m_hiddenParagraphs.pop_back();
        // A field whose code goes beyond its paragraph is broken and must not swallow the document.
        if (collector().depth == 0)
            std::erase_if(m_fields, [](const Field& field) { return field.inCode; });
    }

    void text(std::string_view text) override {
        constexpr std::size_t enough = 32; // bytes of a code that are kept
        if (m_inCode && m_fieldsBeyond == 0 && !m_fields.empty() && m_fields.back().code.size() < enough)
            m_fields.back().code += text.substr(0, enough);
        if (!isMuted() && !isUnseen())
            ParagraphFilter::text(text);
    }

    [[nodiscard]] bool isMuted() const {
        return (!m_hiddenParagraphs.empty() && m_hiddenParagraphs.back()) ||
               std::any_of(m_fields.begin(), m_fields.end(),
                           [](const Field& field) { return field.inCode || field.isTableOfContents; });
    }

    [[nodiscard]] bool isRunProperty() const {
        return !m_runs.empty() && m_runProperties == m_runs.back() + 1 && depth() == m_runProperties + 1;
    }

    const StyleCollector& m_styles;
    int m_paragraphProperties = 0; // depth of the open "w:pPr", or 0
    int m_runProperties = 0;       // of the open "w:rPr", or 0
    bool m_inCode = false;
    std::vector<bool> m_hiddenParagraphs; // for each open paragraph
    std::optional<bool> m_isWhiteRun;     // nothing where it says no colour
    bool m_runHasGround = false;
    bool m_isWhiteParagraph = false, m_paragraphHasGround = false;
    bool m_pageHasGround = false;
    std::vector<bool> m_tables;  // for each open table whether it may be painted
    int m_boxes = 0;             // open ones
    std::vector<int> m_runs;     // depths of the open runs
    std::vector<int> m_controls; // and content controls
    std::vector<Field> m_fields;
    std::size_t m_fieldsBeyond =
        0; // open fields inside the innermost of `maxFields`; nothing is kept of them
};

// Where the main part lies elsewhere, the package says so.
std::string mainPart(OfficePackage& package) {
    std::string usual = "word/document.xml";
    if (package.contains(usual))
        return usual;
    for (const auto& [id, relationship] : relationshipsOf(package, "")) {
        if (relationship.type.ends_with("/officeDocument"))
            return relationship.target;
    }
    return usual;
}

} // namespace

std::optional<OfficeText> readWordDocument(OfficePackage& package) {
    const std::optional<ZipMember> document = package.part(mainPart(package));
    if (!document.has_value())
        return std::nullopt;
    StyleCollector styles;
    if (const auto part = package.part("word/styles.xml"))
        parseXML(part->view(), styles);
    XMLText::Collector collector("w:p", "w:t");
    WordFilter filter(collector, styles);
    if (!parseXML(document->view(), filter))
        return std::nullopt;
    OfficeText result;
    result.lines = ParagraphFilter::tidied(collector.out, false);
    readOfficeProperties(package, result);
    return result;
}

} // namespace vesto::readers
