#include "core/extraction/readers/LineCollector.h"
#include "core/extraction/readers/containers/BinaryRecords.h"
#include "core/extraction/readers/containers/CompoundFile.h"
#include "core/extraction/readers/containers/PropertySet.h"
#include "core/extraction/readers/office/BinaryOffice.h"
#include "core/extraction/readers/office/SharedStrings.h"

#include <algorithm>
#include <functional>
#include <unordered_map>
#include <utility>
#include <vector>

namespace vesto::readers {
namespace {

using namespace littleEndian;

constexpr int maxDepth = 32;
constexpr std::size_t maxEdits = 1000;
constexpr std::size_t maxObjects = 200'000;
constexpr std::size_t maxSlides = 10'000;
enum RecordType : std::uint16_t {
    documentPart = 1000,
    slidePart = 1006,
    slidePlace = 1011,
    slideInfo = 1017,
    outlineReference = 3998,
    textOfUTF16 = 4000,
    textOfBytes = 4008,
    slideList = 4080,
    userEdit = 4085,
    objectDirectory = 6002,
};
constexpr std::uint32_t encryptedToken = 0xF3D1C4DF;

std::string textOf(const SlideRecord& record) {
    return textOfUnits(part(record.data, 0, 4 * maxCharacters), record.type == textOfUTF16);
}

/// A slide as the presentation lists it: where its record lies, and the texts of its outline.
struct Slide {
    std::uint32_t object = 0;
    std::vector<std::string_view> outline = {};
    std::vector<bool> isWide = {};
};

class Presentation {
public:
    explicit Presentation(std::string_view stream)
        : m_stream(stream) {}

    /// `edit`: where the record of the last change lies.
    void read(std::uint32_t edit, OfficeText& result) {
        readDirectory(edit);
        const std::vector<Slide> slides = listedSlides();
        if (slides.empty())
            addAllSlides();
        for (const Slide& slide : slides)
            addSlide(slide);
        result.lines = m_lines.take();
        const std::size_t count = slides.empty() ? m_slides : slides.size();
        result.pageCount = count > 0 ? std::optional(static_cast<std::int64_t>(count)) : std::nullopt;
    }

private:
    [[nodiscard]] std::optional<SlideRecord> recordAt(std::uint64_t offset) const {
        std::string_view rest = part(m_stream, offset, m_stream.size());
        return takeSlideRecord(rest);
    }

    /// Where each object lies; of several versions the last, which comes first.
    void readDirectory(std::uint32_t edit) {
        for (std::size_t step = 0; step < maxEdits; ++step) {
            const std::optional<SlideRecord> record = recordAt(edit);
            if (!record || record->type != userEdit)
                return;
            if (step == 0)
                m_document = number32(record->data, 16);
            if (const auto directory = recordAt(number32(record->data, 12));
                directory && directory->type == objectDirectory)
                addObjects(directory->data);
            const std::uint32_t before = number32(record->data, 8);
            if (before == 0 || before >= edit) // an earlier change lies before this one
                return;
            edit = before;
        }
    }

    void addObjects(std::string_view entries) {
        for (std::uint64_t at = 0; at + 4 <= entries.size();) {
            const std::uint32_t head = number32(entries, at);
            const std::uint32_t first = head & 0xF'FFFF, count = head >> 20U;
            at += 4;
            for (std::uint32_t i = 0; i < count && at + 4 <= entries.size(); ++i, at += 4)
                if (m_objects.size() < maxObjects)
                    m_objects.try_emplace(first + i, number32(entries, at));
        }
    }

    [[nodiscard]] std::optional<SlideRecord> object(std::uint32_t identifier, std::uint16_t type) const {
        const auto found = m_objects.find(identifier);
        const std::optional<SlideRecord> record =
            found == m_objects.end() ? std::nullopt : recordAt(found->second);
        return record && record->type == type ? record : std::nullopt;
    }

    [[nodiscard]] std::vector<Slide> listedSlides() const {
        std::vector<Slide> slides;
        std::optional<SlideRecord> document = object(m_document, documentPart);
        if (!document) // the usual place
            document = recordAt(0);
        if (!document || document->type != documentPart)
            return slides;
        constexpr std::uint16_t ofSlides = 0; // 1: of masters, 2: of notes
        while (const auto record = takeSlideRecord(document->data)) {
            if (record->type != slideList || record->instance != ofSlides)
                continue;
            std::string_view list = record->data;
            while (const auto entry = takeSlideRecord(list))
                addListed(slides, *entry);
        }
        return slides;
    }

    static void addListed(std::vector<Slide>& slides, const SlideRecord& entry) {
        if (entry.type == slidePlace && slides.size() < maxSlides) {
            slides.push_back({.object = number32(entry.data, 0)});
        } else if (!slides.empty() && (entry.type == textOfUTF16 || entry.type == textOfBytes)) {
            slides.back().outline.push_back(entry.data);
            slides.back().isWide.push_back(entry.type == textOfUTF16);
        }
    }

    void addSlide(const Slide& slide) {
        std::optional<SlideRecord> record = object(slide.object, slidePart);
        // The same bytes may be listed as many slides.
        m_walked += record ? record->data.size() : 0;
        if (m_walked > 2 * m_stream.size())
            record.reset();
        if (m_lines.full() || (record && isHidden(record->data)))
            return;
        std::vector<std::string_view> outline = slide.outline;
        const auto showOutline = [&](std::size_t index) {
            if (index < outline.size())
                addText(textOfUnits(part(std::exchange(outline[index], {}), 0, 4 * maxCharacters),
                                    slide.isWide[index]));
        };
        if (record)
            addShapes(record->data, showOutline, 0);
        for (std::size_t i = 0; i < outline.size(); ++i)
            showOutline(i);
    }

    static bool isHidden(std::string_view records) {
        while (const auto record = takeSlideRecord(records))
            if (record->type == slideInfo)
                return (number16(record->data, 10) & 4U) != 0;
        return false;
    }

    /// The texts of the shapes in their order; one may refer to the outline.
    void addShapes(std::string_view records, const std::function<void(std::size_t)>& showOutline, int depth) {
        while (const auto record = takeSlideRecord(records)) {
            if (m_lines.full())
                return;
            if (record->type == textOfUTF16 || record->type == textOfBytes)
                addText(textOf(*record));
            else if (record->type == outlineReference)
                showOutline(number32(record->data, 0));
            else if (record->isContainer && depth < maxDepth)
                addShapes(record->data, showOutline, depth + 1);
        }
    }

    /// Where no list is to be found, what looks like a slide counts as one.
    void addAllSlides() {
        std::string_view rest = m_stream;
        while (const auto record = takeSlideRecord(rest)) {
            if (record->type != slidePart)
                continue;
            ++m_slides;
            if (!isHidden(record->data))
                addShapes(record->data, [](std::size_t) {}, 0);
        }
    }

    void addText(const std::string& text) {
        for (std::size_t offset = 0; offset < text.size();)
            m_lines.add(nextLine(text, offset));
    }

    std::string_view m_stream;
    std::unordered_map<std::uint32_t, std::uint32_t> m_objects; // offsets by identifier
    std::size_t m_walked = 0;                                   // bytes of slides
    std::uint32_t m_document = 0;                               // an object
    std::size_t m_slides = 0;                                   // found without a list
    LineCollector m_lines;
};

} // namespace

std::optional<OfficeText> readBinarySlides(std::string_view bytes) {
    const std::optional<CompoundFile> file = CompoundFile::open(bytes);
    const std::optional<std::string> stream = file ? file->stream("PowerPoint Document") : std::nullopt;
    if (!stream)
        return std::nullopt;
    const std::string user = file->stream("Current User").value_or("");
    if (number32(user, 12) == encryptedToken)
        return std::nullopt;
    OfficeText result;
    readBinaryProperties(*file, result);
    Presentation(*stream).read(number32(user, 16), result);
    return result;
}

} // namespace vesto::readers
