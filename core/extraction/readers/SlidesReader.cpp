#include "core/extraction/readers/ElementFilter.h"
#include "core/extraction/readers/OfficePackage.h"

#include <algorithm>
#include <charconv>
#include <iterator>
#include <limits>
#include <set>
#include <utility>

namespace vesto::readers {
namespace {

constexpr std::string_view slidePrefix = "ppt/slides/slide";
constexpr std::string_view slideSuffix = ".xml";
constexpr std::size_t maxSlideBytes = 2 * ZipReader::maxMemberSize; // of all slides that are looked into

class SlideFilter final : public ParagraphFilter {
public:
    SlideFilter(XMLText::Collector& collector, std::size_t room)
        : ParagraphFilter(collector, room) {}

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
        }
        return Verdict::show;
    }

    void leave(std::string_view name) override {
        if (isShape(name) && !m_shapes.empty())
            m_shapes.pop_back();
        else if (name == "a:r" || name == "a:fld")
            m_run = 0;
        ParagraphFilter::leave(name);
    }

    std::vector<int> m_shapes; // depths of the open ones
    int m_run = 0;             // depth of the open run, or 0
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
    for (const std::string& slide : slides) {
        const std::optional<ZipMember> part = package.part(slide);
        if (!part.has_value())
            continue;
        bytes += part->view().size();
        if (bytes > maxSlideBytes)
            break;
        XMLText::Collector collector("a:p", "a:t");
        SlideFilter filter(collector, room);
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
