#include "core/extraction/readers/office/IWorkReader.h"

#include "core/extraction/readers/LineCollector.h"
#include "core/extraction/readers/containers/ZipReader.h"
#include "core/extraction/readers/office/HiddenColumns.h"
#include "core/support/Unicode.h"

#include <libetonyek/libetonyek.h>
#include <librevenge-generators/librevenge-generators.h>
#include <librevenge-stream/librevenge-stream.h>

#include <algorithm>
#include <memory>
#include <utility>
#include <vector>

namespace vesto::readers {
namespace {

constexpr std::int64_t maxInflated = 4 * ZipReader::maxMemberSize; // of all members that are asked for

/// What a collector throws once it has enough; the library catches it and gives up.
struct Enough {};

/// A package, or one of its members, as the library wants to see it.
class PackageStream final : public librevenge::RVNGInputStream {
public:
    PackageStream(ZipMember bytes, std::shared_ptr<std::int64_t> budget)
        : m_bytes(std::move(bytes))
        , m_budget(std::move(budget))
        , m_archive(ZipReader::open(m_bytes.view())) {
        if (m_archive)
            for (const auto& [name, entry] : m_archive->entries())
                m_names.push_back(&name);
    }

    /// Whether there are members that hold a document's content, of whatever version.
    [[nodiscard]] bool holdsDocument() const {
        return std::ranges::any_of(m_names, [](const std::string* name) {
            return name->starts_with("Index/") || name->starts_with("Index.zip") ||
                   name->starts_with("index.") || name->starts_with("presentation.apxl");
        });
    }

    bool isStructured() override { return m_archive.has_value(); }
    unsigned subStreamCount() override { return static_cast<unsigned>(m_names.size()); }
    const char* subStreamName(unsigned id) override {
        return id < m_names.size() ? m_names[id]->c_str() : nullptr;
    }
    bool existsSubStream(const char* name) override {
        return m_archive && name != nullptr && m_archive->entries().contains(std::string_view(name));
    }

    /// The caller owns it; null for none.
    librevenge::RVNGInputStream* getSubStreamByName(const char* name) override {
        if (!existsSubStream(name))
            return nullptr;
        const ZipReader::Entry& entry = m_archive->entries().find(std::string_view(name))->second;
        const std::int64_t cost = std::max(entry.size, entry.compressedSize);
        if (cost > *m_budget)
            return nullptr;
        *m_budget -= cost;
        std::optional<ZipMember> member = m_archive->data(name);
        return member ? std::make_unique<PackageStream>(std::move(*member), m_budget).release() : nullptr;
    }
    librevenge::RVNGInputStream* getSubStreamById(unsigned id) override {
        return getSubStreamByName(subStreamName(id));
    }

    const unsigned char* read(unsigned long wanted, unsigned long& count) override {
        const std::string_view rest = m_bytes.view().substr(m_offset);
        count = std::min<unsigned long>(wanted, rest.size());
        m_offset += count;
        return count == 0 ? nullptr : reinterpret_cast<const unsigned char*>(rest.data());
    }

    int seek(long offset, librevenge::RVNG_SEEK_TYPE type) override {
        const auto size = static_cast<long>(m_bytes.view().size());
        long begin = 0;
        if (type == librevenge::RVNG_SEEK_CUR)
            begin = tell();
        else if (type == librevenge::RVNG_SEEK_END)
            begin = size;
        long target = 0;
        const bool isInside =
            !__builtin_add_overflow(begin, offset, &target) && target >= 0 && target <= size;
        m_offset = static_cast<std::size_t>(isInside ? target : std::clamp(target, 0L, size));
        return isInside ? 0 : 1;
    }
    long tell() override { return static_cast<long>(m_offset); }
    bool isEnd() override { return m_offset >= m_bytes.view().size(); }

private:
    ZipMember m_bytes;
    std::shared_ptr<std::int64_t> m_budget; // bytes that may still be gone through
    std::optional<ZipReader> m_archive;
    std::vector<const std::string*> m_names;
    std::size_t m_offset = 0;
};

/// What the three kinds of documents have in common. `Base` is a generator that answers all other calls.
template <typename Base, typename Output> class Collector : public Base {
public:
    Collector(Output& output, LineCollector& lines, std::optional<std::string>& title)
        : Base(output)
        , m_lines(lines)
        , m_title(title) {}

    void setDocumentMetaData(const librevenge::RVNGPropertyList& properties) override {
        if (const librevenge::RVNGProperty* title = properties["dc:title"])
            m_title = title->getStr().cstr();
    }
    void insertText(const librevenge::RVNGString& text) override { append(text.cstr()); }
    void insertTab() override { append(" "); }
    void insertSpace() override { append(" "); }
    void insertLineBreak() override { endLine(); }
    void closeParagraph() override { endParagraph(); }
    void openListElement(const librevenge::RVNGPropertyList&) override {}
    void closeListElement() override { endParagraph(); }
    void openParagraph(const librevenge::RVNGPropertyList&) override {}
    void openSpan(const librevenge::RVNGPropertyList&) override {}
    void closeSpan() override {}

protected:
    virtual void endParagraph() { endLine(); }

    void append(std::string_view text) {
        if (m_isHidden > 0)
            return;
        m_line += text;
        if (m_line.size() > 4 * maxCharacters)
            endLine();
    }

    void endLine() {
        m_lines.add(m_line);
        m_line.clear();
        if (m_lines.full())
            throw Enough();
    }

    void hide(int by) { m_isHidden += by; }

private:
    LineCollector& m_lines;
    std::optional<std::string>& m_title;
    std::string m_line;
    int m_isHidden = 0; // open parts that are not the document's text
};

using PropertyList = librevenge::RVNGPropertyList;

class TextCollector final : public Collector<librevenge::RVNGTextTextGenerator, librevenge::RVNGString> {
public:
    using Collector::Collector;

    void openHeader(const PropertyList&) override { hide(1); }
    void closeHeader() override { hide(-1); }
    void openFooter(const PropertyList&) override { hide(1); }
    void closeFooter() override { hide(-1); }
    void openFootnote(const PropertyList&) override { hide(1); }
    void closeFootnote() override { hide(-1); }
    void openEndnote(const PropertyList&) override { hide(1); }
    void closeEndnote() override { hide(-1); }
    void openComment(const PropertyList&) override { hide(1); }
    void closeComment() override { hide(-1); }
    void openTableCell(const PropertyList&) override { ++m_cells; }
    void closeTableCell() override { --m_cells; }
    void closeTableRow() override { endLine(); }

private:
    void endParagraph() override { m_cells > 0 ? append(" ") : endLine(); }

    int m_cells = 0; // open ones
};

class SlideCollector final
    : public Collector<librevenge::RVNGTextPresentationGenerator, librevenge::RVNGStringVector> {
public:
    using Collector::Collector;

    void startSlide(const PropertyList&) override { ++slides; }
    void endSlide() override { endLine(); }
    void startMasterSlide(const PropertyList&) override { hide(1); }
    void endMasterSlide() override { hide(-1); }
    void startNotes(const PropertyList&) override { hide(1); }
    void endNotes() override { hide(-1); }
    void startComment(const PropertyList&) override { hide(1); }
    void endComment() override { hide(-1); }

    std::int64_t slides = 0;
};

class SheetCollector final
    : public Collector<librevenge::RVNGTextSpreadsheetGenerator, librevenge::RVNGStringVector> {
public:
    using Collector::Collector;

    void openComment(const PropertyList&) override { hide(1); }
    void closeComment() override { hide(-1); }
    void openSheetCell(const PropertyList& properties) override {
        m_inCell = true;
        // A number has no paragraphs.
        const librevenge::RVNGProperty* type = properties["librevenge:value-type"];
        const librevenge::RVNGProperty* value = properties["librevenge:value"];
        if (type != nullptr && value != nullptr && type->getStr() != "string")
            append(value->getStr().cstr());
    }
    void closeSheetCell() override {
        m_inCell = false;
        append(" ");
    }
    void closeSheetRow() override {
        endLine();
        if (++m_rows >= maxRows)
            throw Enough();
    }
    void openSheet(const PropertyList&) override {}
    void closeSheet() override {}
    void openSheetRow(const PropertyList&) override {}

private:
    // Empty ones count too; a document has many small tables.
    static constexpr std::int64_t maxRows = 4 * maxSheetRows;

    void endParagraph() override { m_inCell ? append(" ") : endLine(); }

    bool m_inCell = false;
    std::int64_t m_rows = 0;
};

} // namespace

std::optional<OfficeText> readIWork(std::string_view archive, IWorkFormat format) {
    PackageStream stream(ZipMember(archive), std::make_shared<std::int64_t>(maxInflated));
    if (!stream.holdsDocument())
        return std::nullopt;
    OfficeText result;
    LineCollector lines;
    std::optional<std::string> title;
    librevenge::RVNGString text;
    librevenge::RVNGStringVector parts;
    using Document = libetonyek::EtonyekDocument;
    // Whether the library came to the end says nothing: it stops when there is enough.
    switch (format) {
    case IWorkFormat::keynote: {
        SlideCollector collector(parts, lines, title);
        if (Document::parse(&stream, &collector) && collector.slides > 0)
            result.pageCount = collector.slides;
        break;
    }
    case IWorkFormat::numbers: {
        SheetCollector collector(parts, lines, title);
        Document::parse(&stream, &collector);
        break;
    }
    case IWorkFormat::pages: {
        TextCollector collector(text, lines, title);
        Document::parse(&stream, &collector);
        break;
    }
    }
    result.lines = lines.take();
    const std::string trimmed = unicode::repaired(unicode::trimmedWhiteSpace(title.value_or("")));
    if (!trimmed.empty())
        result.title = trimmed;
    return result;
}

} // namespace vesto::readers
