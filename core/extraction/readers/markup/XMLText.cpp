#include "core/extraction/readers/markup/XMLText.h"

#include "core/extraction/readers/ReadingLimits.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <utility>

namespace vesto::readers::XMLText {
namespace {

// Line breaks and tabs of the three vocabularies: a space each.
constexpr std::array<std::string_view, 6> spacers{"a:br",  "w:br",     "text:line-break",
                                                  "w:tab", "text:tab", "text:s"};

constexpr std::size_t maxBytes = 4 * maxCharacters; // no scalar has more than four

// A decimal number with at most one sign and nothing else.
std::optional<std::size_t> sharedIndex(std::string_view text) {
    const bool negative = text.starts_with('-');
    if (negative || text.starts_with('+'))
        text.remove_prefix(1);
    std::size_t value = 0;
    const auto [stop, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error != std::errc() || stop != text.data() + text.size() || (negative && value != 0))
        return std::nullopt;
    return value;
}

} // namespace

void Collector::start(std::string_view name, const XMLAttributes& attributes) {
    if (name == paragraph) {
        if (attribute.has_value()) {
            if (const auto value = attributes.find(*attribute))
                out.emplace_back(*value);
            return;
        }
        if (depth == 0)
            current.clear();
        ++depth;
    } else if (depth >= 1) {
        if (run.has_value() && name == *run)
            inRun = true;
        else if (std::find(spacers.begin(), spacers.end(), name) != spacers.end())
            current += ' ';
    }
}

void Collector::characters(std::string_view text) {
    if (depth >= 1 && (!run.has_value() || inRun))
        current += text;
}

void Collector::end(std::string_view name) {
    if (name == paragraph && !attribute.has_value() && depth >= 1) {
        if (--depth == 0)
            out.push_back(current);
    } else if (run.has_value() && name == *run) {
        inRun = false;
    }
}

void SheetCollector::start(std::string_view name, const XMLAttributes& attributes) {
    if (name == "row") {
        row.clear();
    } else if (name == "c") {
        const auto type = attributes.find("t");
        cellType = type.has_value() ? std::optional<std::string>(*type) : std::nullopt;
        text.clear();
    } else if (name == "v" || name == "t") {
        capture = true;
    }
}

void SheetCollector::characters(std::string_view characters) {
    if (capture)
        text += characters;
}

void SheetCollector::end(std::string_view name) {
    if (name == "v" || name == "t")
        capture = false;
    else if (name == "c")
        endCell();
    else if (name == "row")
        endRow();
}

void SheetCollector::endCell() {
    std::string_view value = text;
    if (cellType == "s") {
        const std::optional<std::size_t> index = sharedIndex(text);
        value = index.has_value() && *index < shared.size() ? std::string_view(shared[*index])
                                                            : std::string_view();
    }
    if (value.empty() || m_bytes >= maxBytes)
        return;
    m_bytes += value.size();
    row.emplace_back(value);
}

void SheetCollector::endRow() {
    if (!row.empty()) {
        std::string line;
        for (const std::string& value : row) {
            if (!line.empty())
                line += ' ';
            line += value;
        }
        out.push_back(std::move(line));
    }
    if (std::cmp_greater_equal(out.size(), maxRows) || m_bytes >= maxBytes)
        stop();
}

std::vector<std::string> paragraphs(std::string_view xml, std::string paragraph,
                                    std::optional<std::string> run, std::optional<std::string> attribute) {
    Collector collector(std::move(paragraph), std::move(run), std::move(attribute));
    parseXML(xml, collector);
    return std::move(collector.out);
}

std::vector<std::string> sheetRows(std::string_view xml, std::vector<std::string> shared,
                                   std::int64_t maxRows) {
    SheetCollector collector(std::move(shared), maxRows);
    parseXML(xml, collector);
    return std::move(collector.out);
}

} // namespace vesto::readers::XMLText
