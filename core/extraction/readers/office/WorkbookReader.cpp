#include "core/extraction/readers/markup/ElementFilter.h"
#include "core/extraction/readers/office/HiddenColumns.h"
#include "core/extraction/readers/office/OfficePackage.h"
#include "core/support/Unicode.h"

#include <charconv>
#include <iterator>
#include <utility>

namespace vesto::readers {
namespace {

constexpr std::string_view usualSheet = "xl/worksheets/sheet1.xml";

std::int64_t numberOf(const std::optional<std::string_view>& text, std::int64_t otherwise) {
    if (text.has_value())
        std::from_chars(text->data(), text->data() + text->size(), otherwise);
    return otherwise;
}

// 3 for "C7"; nothing where there are no letters or too many.
std::optional<std::int64_t> columnOf(std::string_view reference) {
    std::int64_t column = 0;
    for (const char letter : reference) {
        if (letter < 'A' || letter > 'Z' || column > 100'000)
            break;
        column = column * 26 + (letter - 'A' + 1);
    }
    return column == 0 ? std::nullopt : std::optional(column);
}

// Some programs write the main vocabulary with a prefix ("x:row").
std::string_view withoutPrefix(std::string_view name) {
    if (name.starts_with("x:"))
        name.remove_prefix(2);
    return name;
}

// Which formats of cells hide what is in them: white on nothing, or less than two points high.
class CellFormats final : public XMLHandler {
public:
    void start(std::string_view name, const XMLAttributes& attributes) override {
        name = withoutPrefix(name);
        const auto number = [&](std::string_view key) { return numberOf(attributes.find(key), 0); };
        if (name == "fonts" || name == "fills" || name == "cellXfs") {
            m_list = name;
        } else if (m_list == "fonts") {
            enterFont(name, attributes);
        } else if (m_list == "fills") {
            if (name == "fill")
                m_isPainted.push_back(false);
            else if (name == "patternFill" && !m_isPainted.empty())
                m_isPainted.back() = attributes.find("patternType").value_or("none") != "none";
            else if (name == "gradientFill" && !m_isPainted.empty())
                m_isPainted.back() = true;
        } else if (m_list == "cellXfs" && name == "xf") {
            m_hides.push_back(at(m_isTiny, number("fontId")) ||
                              (at(m_isWhite, number("fontId")) && !at(m_isPainted, number("fillId"))));
        }
    }
    void characters(std::string_view) override {}
    void end(std::string_view name) override {
        if (withoutPrefix(name) == m_list)
            m_list.clear();
    }

    [[nodiscard]] bool hides(std::int64_t format) const { return at(m_hides, format); }

private:
    static bool at(const std::vector<bool>& list, std::int64_t index) {
        return index >= 0 && std::cmp_less(index, list.size()) && list[static_cast<std::size_t>(index)];
    }

    void enterFont(std::string_view name, const XMLAttributes& attributes) {
        constexpr double smallestPoints = 2;
        if (name == "font") {
            m_isWhite.push_back(false);
            m_isTiny.push_back(false);
        } else if (m_isWhite.empty()) {
            return;
        } else if (name == "color") {
            m_isWhite.back() = attributes.has("rgb", "FFFFFFFF") ||
                               (attributes.has("theme", "0") && !attributes.find("tint"));
        } else if (name == "sz") {
            const std::string_view text = attributes.find("val").value_or("");
            double size = smallestPoints;
            std::from_chars(text.data(), text.data() + text.size(), size);
            m_isTiny.back() = size < smallestPoints;
        }
    }

    std::string m_list;                    // that is open
    std::vector<bool> m_isWhite, m_isTiny; // of each font
    std::vector<bool> m_isPainted;         // of each fill
    std::vector<bool> m_hides;             // of each format
};

// Leaves out hidden rows and columns and phonetic guides, and ends with the cells.
class SheetFilter final : public ElementFilter {
public:
    SheetFilter(XMLText::SheetCollector& collector, const CellFormats& formats)
        : ElementFilter(collector)
        , m_formats(formats) {}

private:
    Verdict enter(std::string_view prefixed, const XMLAttributes& attributes) override {
        const std::string_view name = withoutPrefix(prefixed);
        if (name == "row") {
            m_column = 0;
            return isOn(attributes.find("hidden"), false) ? Verdict::skip : Verdict::show;
        }
        if (name == "c") {
            ++m_column;
            if (const auto reference = attributes.find("r"))
                m_column = columnOf(*reference).value_or(m_column);
            const bool hides = m_formats.hides(numberOf(attributes.find("s"), 0));
            return hides || m_hidden.contains(m_column) ? Verdict::skip : Verdict::show;
        }
        if (name == "col" && isOn(attributes.find("hidden"), false))
            m_hidden.add(numberOf(attributes.find("min"), 0), numberOf(attributes.find("max"), -1));
        return name == "rPh" ? Verdict::skip : Verdict::show;
    }

    void leave(std::string_view name) override {
        if (withoutPrefix(name) == "sheetData")
            stop();
    }

    [[nodiscard]] std::string_view translated(std::string_view name) const override {
        return withoutPrefix(name);
    }

    const CellFormats& m_formats;
    HiddenColumns m_hidden;
    std::int64_t m_column = 0; // of the cell that was opened last
};

class SharedStringFilter final : public ElementFilter {
public:
    explicit SharedStringFilter(XMLText::Collector& collector)
        : ElementFilter(collector) {}

private:
    Verdict enter(std::string_view name, const XMLAttributes&) override {
        return withoutPrefix(name) == "rPh" ? Verdict::skip : Verdict::show;
    }
    [[nodiscard]] std::string_view translated(std::string_view name) const override {
        return withoutPrefix(name);
    }
};

class SheetList final : public XMLHandler {
public:
    struct Sheet {
        std::string name;
        std::string id; // of its relationship
    };

    void start(std::string_view name, const XMLAttributes& attributes) override {
        if (withoutPrefix(name) != "sheet" || attributes.find("state").value_or("visible") != "visible")
            return;
        visible.push_back({std::string(attributes.find("name").value_or("")),
                           std::string(attributes.find("r:id").value_or(""))});
    }
    void characters(std::string_view) override {}
    void end(std::string_view name) override {
        if (withoutPrefix(name) == "sheets")
            stop();
    }

    std::vector<Sheet> visible;
};

std::vector<std::string> sharedStrings(OfficePackage& package) {
    const std::optional<ZipMember> part = package.part("xl/sharedStrings.xml");
    if (!part.has_value())
        return {};
    XMLText::Collector collector("si", "t");
    SharedStringFilter filter(collector);
    parseXML(part->view(), filter);
    return std::move(collector.out);
}

// A sheet of cells, not of a chart.
std::string firstVisibleSheet(OfficePackage& package, const std::vector<SheetList::Sheet>& visible) {
    const Relationships relationships = relationshipsOf(package, "xl/workbook.xml");
    for (const SheetList::Sheet& sheet : visible) {
        const auto found = relationships.find(sheet.id);
        if (found != relationships.end() && found->second.type.ends_with("/worksheet") &&
            package.contains(found->second.target))
            return found->second.target;
    }
    return std::string(usualSheet);
}

} // namespace

std::optional<OfficeText> readWorkbook(OfficePackage& package) {
    SheetList sheets;
    if (const auto workbook = package.part("xl/workbook.xml"))
        parseXML(workbook->view(), sheets);
    const std::optional<ZipMember> sheet = package.part(firstVisibleSheet(package, sheets.visible));
    if (!sheet.has_value())
        return std::nullopt;
    XMLText::SheetCollector collector(sharedStrings(package), maxSheetRows);
    CellFormats formats;
    if (const auto styles = package.part("xl/styles.xml"))
        parseXML(styles->view(), formats);
    SheetFilter filter(collector, formats);
    if (!parseXML(sheet->view(), filter))
        return std::nullopt;
    OfficeText result;
    result.lines = ParagraphFilter::tidied(collector.out, false);
    if (!result.lines.empty()) {
        std::vector<std::string> names;
        names.reserve(sheets.visible.size());
        for (SheetList::Sheet& visible : sheets.visible)
            names.push_back(std::move(visible.name));
        names = ParagraphFilter::tidied(names, false);
        std::move(names.begin(), names.end(), std::back_inserter(result.lines));
    }
    readOfficeProperties(package, result);
    return result;
}

} // namespace vesto::readers
