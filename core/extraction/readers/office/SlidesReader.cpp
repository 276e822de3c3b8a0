#include "core/extraction/readers/markup/ElementFilter.h"
#include "core/extraction/readers/office/OfficePackage.h"

#include <algorithm>
#include <charconv>
#include <iterator>
#include <limits>
#include <map>
#include <set>
#include <utility>

namespace vesto::readers {
namespace {

constexpr std::string_view slidePrefix = "ppt/slides/slide";
constexpr std::string_view slideSuffix = ".xml";
constexpr std::size_t maxSlideBytes = 2 * ZipReader::maxMemberSize; // of all slides that are looked into

// Whether a colour element is white, as the theme of nearly every presentation has its background.
bool isWhite(std::string_view name, const XMLAttributes& attributes) {
    return (name == "a:srgbClr" && attributes.has("val", "FFFFFF")) ||
           (name == "a:schemeClr" && (attributes.has("val", "bg1") || attributes.has("val", "lt1"))) ||
           (name == "a:sysClr" && attributes.has("lastClr", "FFFFFF"));
}

// Whether a master or a layout leaves its slides white: it has no background of another colour, no picture
// and no painted shape.
class PaperCollector final : public XMLHandler {
public:
    void start(std::string_view name, const XMLAttributes& attributes) override {
        // The first background of a theme is plain, the others are not; a map may swap light and dark.
        if ((name == "p:bgRef" && !attributes.has("idx", "1001")) ||
            (name == "p:clrMap" && !attributes.has("bg1", "lt1")))
            m_isPainted = true;
        if (name == "p:bg")
            m_inBackground = true;
        else if (m_inBackground)
            m_isPainted = m_isPainted || name == "a:blip" || name == "a:gradFill" || name == "a:pattFill" ||
                          (name.ends_with("Clr") && !isWhite(name, attributes));
        else if (name == "p:pic" || name == "a:blip" || name == "a:gradFill" ||
                 (name == "a:solidFill" && m_inShape && !m_inLine))
            m_isPainted = true;
        else if (name == "p:spPr")
            m_inShape = true;
        else if (name == "a:ln")
            m_inLine = true;
    }
    void characters(std::string_view) override {}
    void end(std::string_view name) override {
        if (name == "p:bg")
            m_inBackground = false;
        else if (name == "p:spPr")
            m_inShape = false;
        else if (name == "a:ln")
            m_inLine = false;
    }

    [[nodiscard]] bool isWhitePaper() const { return !m_isPainted; }

private:
    bool m_inBackground = false, m_inShape = false, m_inLine = false;
    bool m_isPainted = false;
};

class SlideFilter final : public ParagraphFilter {
public:
    /// `isWhitePaper`: what the slide's layout leaves under it.
    SlideFilter(XMLText::Collector& collector, std::size_t room, bool isWhitePaper)
        : ParagraphFilter(collector, room)
        , m_isWhitePaper(isWhitePaper) {}

private:
    static bool isShape(std::string_view name) {
        return name == "p:sp" || name == "p:pic" || name == "p:graphicFrame" || name == "p:grpSp" ||
               name == "p:cxnSp";
    }

    Verdict enter(std::string_view name, const XMLAttributes& attributes) override {
        if (name == "mc:Fallback" || (name == "a:fld" && attributes.has("type", "slidenum")))
            return Verdict::skip;
        if (name == "p:sld" && !isOn(attributes.find("show"), true))
            return Verdict::skip;
        if (isShape(name)) {
            m_shapes.push_back(depth());
        } else if (name == "p:cNvPr") {
            if (!m_shapes.empty() && isOn(attributes.find("hidden"), false))
                hideUntilEndOf(m_shapes.back());
        } else if (name == "a:r" || name == "a:fld") {
            m_run = depth();
        } else if (name == "a:rPr" && m_run != 0 && depth() == m_run + 1) {
            constexpr int smallestVisibleSize = 200; // hundredths of a point
            const std::string_view text = attributes.find("sz").value_or("");
            int size = smallestVisibleSize;
            std::from_chars(text.data(), text.data() + text.size(), size);
            if (size < smallestVisibleSize)
                hideUntilEndOf(m_run);
            m_runProperties = depth();
        } else {
            enterPaint(name, attributes);
        }
        return Verdict::show;
    }

    // White text is hidden only while nothing painted was met: shapes lie above those before them.
    void enterPaint(std::string_view name, const XMLAttributes& attributes) {
        if (m_runProperties != 0) {
            // The colour of the text itself, not of its outline or shadow.
            if (m_isWhitePaper && depth() == m_runProperties + 2 && m_inTextFill && isWhite(name, attributes))
                hideUntilEndOf(m_run);
            m_inTextFill = depth() == m_runProperties + 1 ? name == "a:solidFill" : m_inTextFill;
            return;
        }
        if (name == "p:bg" || name == "a:blip" || name == "a:gradFill" || name == "a:pattFill" ||
            name == "p:graphicFrame" || name == "a:tbl" ||
            (name == "a:solidFill" && m_lines == 0 && m_shapeProperties) ||
            (name == "a:fillRef" && !attributes.has("idx", "0")))
            m_isWhitePaper = false;
        else if (name == "a:ln")
            ++m_lines;
        else if (name == "p:spPr" || name == "p:grpSpPr")
            m_shapeProperties = true;
    }

    void leave(std::string_view name) override {
        if (isShape(name) && !m_shapes.empty())
            m_shapes.pop_back();
        else if (name == "a:r" || name == "a:fld")
            m_run = m_runProperties = 0;
        else if (name == "a:rPr" && depth() + 1 == m_runProperties)
            m_runProperties = 0;
        else if (name == "a:ln" && m_lines > 0)
            --m_lines;
        else if (name == "p:spPr" || name == "p:grpSpPr")
            m_shapeProperties = false;
        ParagraphFilter::leave(name);
    }

    std::vector<int> m_shapes; // depths of the open ones
    int m_run = 0;             // depth of the open run, or 0
    int m_runProperties = 0;   // and of its properties
    bool m_inTextFill = false;
    bool m_shapeProperties = false; // open ones
    int m_lines = 0;                // open outlines, whose paint is no ground
    bool m_isWhitePaper;
};

// What lies under the slides of a package; each layout is read once.
class Papers {
public:
    explicit Papers(OfficePackage& package)
        : m_package(package) {}

    [[nodiscard]] bool isWhiteUnder(const std::string& slide) {
        const std::string layout = relatedPart(slide, "/slideLayout");
        const auto known = m_known.find(layout);
        if (known != m_known.end())
            return known->second;
        const bool isWhite = isWhitePart(layout) && isWhitePart(relatedPart(layout, "/slideMaster"));
        m_known.emplace(layout, isWhite);
        return isWhite;
    }

private:
    std::string relatedPart(const std::string& source, std::string_view type) {
        for (const auto& [id, relationship] : relationshipsOf(m_package, source))
            if (relationship.type.ends_with(type))
                return relationship.target;
        return {};
    }

    // A part that is missing paints nothing.
    bool isWhitePart(const std::string& name) {
        PaperCollector paper;
        if (const auto part = m_package.part(name))
            parseXML(part->view(), paper);
        return paper.isWhitePaper();
    }

    OfficePackage& m_package;
    std::map<std::string, bool> m_known; // by layout
};

// The slides as the presentation orders them; each once, hidden ones included.
std::vector<std::string> slidesInOrder(OfficePackage& package) {
    constexpr std::string_view presentation = "ppt/presentation.xml";
    const std::optional<ZipMember> part = package.part(presentation);
    if (!part.has_value())
        return {};
    const Relationships relationships = relationshipsOf(package, presentation);
    std::vector<std::string> slides;
    std::set<std::string> known;
    for (const std::string& id : XMLText::paragraphs(part->view(), "p:sldId", std::nullopt, "r:id")) {
        const auto found = relationships.find(id);
        if (found == relationships.end())
            continue;
        const std::string& slide = found->second.target;
        if (package.contains(slide) && known.insert(slide).second)
            slides.push_back(slide);
    }
    return slides;
}

// What stands between prefix and suffix as a number; what is none comes last.
std::uint64_t slideNumber(std::string_view name) {
    name.remove_prefix(slidePrefix.size());
    name.remove_suffix(slideSuffix.size());
    std::uint64_t number = 0;
    const auto [stop, error] = std::from_chars(name.data(), name.data() + name.size(), number);
    if (error != std::errc() || stop != name.data() + name.size())
        return std::numeric_limits<std::uint64_t>::max();
    return number;
}

std::vector<std::string> slidesByNumber(const OfficePackage& package) {
    std::vector<std::string> slides;
    const auto& entries = package.entries();
    for (auto entry = entries.lower_bound(slidePrefix);
         entry != entries.end() && entry->first.starts_with(slidePrefix); ++entry) {
        if (entry->first.size() >= slidePrefix.size() + slideSuffix.size() &&
            entry->first.ends_with(slideSuffix))
            slides.push_back(entry->first);
    }
    std::sort(slides.begin(), slides.end(), [](const std::string& left, const std::string& right) {
        return std::pair(slideNumber(left), std::string_view(left)) <
               std::pair(slideNumber(right), std::string_view(right));
    });
    return slides;
}

} // namespace

std::optional<OfficeText> readSlides(OfficePackage& package) {
    std::vector<std::string> slides = slidesInOrder(package);
    if (slides.empty())
        slides = slidesByNumber(package);
    if (slides.empty() && !package.contains("ppt/presentation.xml"))
        return std::nullopt;
    OfficeText result;
    readOfficeProperties(package, result);
    result.pageCount = std::nullopt;
    if (!slides.empty())
        result.pageCount = static_cast<std::int64_t>(slides.size());
    std::size_t room = maxCharacters;
    std::size_t bytes = 0;
    bool anyReadable = slides.empty();
    Papers papers(package);
    for (const std::string& slide : slides) {
        const std::optional<ZipMember> part = package.part(slide);
        if (!part.has_value())
            continue;
        bytes += part->view().size();
        if (bytes > maxSlideBytes)
            break;
        XMLText::Collector collector("a:p", "a:t");
        SlideFilter filter(collector, room, papers.isWhiteUnder(slide));
        anyReadable = parseXML(part->view(), filter) || anyReadable;
        std::vector<std::string> lines = ParagraphFilter::tidied(collector.out, false);
        std::move(lines.begin(), lines.end(), std::back_inserter(result.lines));
        if (filter.isDone())
            break;
        room = filter.room();
    }
    if (!anyReadable)
        return std::nullopt;
    return result;
}

} // namespace vesto::readers
