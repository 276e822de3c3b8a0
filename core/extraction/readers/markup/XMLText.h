#pragma once
#include "core/extraction/readers/markup/XMLParser.h"

#include <cstdint>
#include <limits>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

/// Text of the XML parts of office documents. Nothing here fails: a malformed part gives the lines so far.
namespace vesto::readers::XMLText {

/// Text between the tags of one kind of element, or one attribute of it. One for each parse.
class Collector : public XMLHandler {
public:
    explicit Collector(std::string paragraphName, std::optional<std::string> runName = std::nullopt,
                       std::optional<std::string> attributeName = std::nullopt)
        : paragraph(std::move(paragraphName))
        , run(std::move(runName))
        , attribute(std::move(attributeName)) {}

    void start(std::string_view name, const XMLAttributes& attributes) override;
    void characters(std::string_view text) override;
    void end(std::string_view name) override;

    std::string
        paragraph; // the element that makes one item of `out`; what is nested flows into the outermost
    std::optional<std::string> run; // the element inside which text counts; none: all text of a paragraph
    std::optional<std::string> attribute; // collect this attribute of `paragraph` instead of text
    std::vector<std::string> out;         // not trimmed, empty ones included
    std::int64_t depth = 0;               // open paragraph elements
    bool inRun = false;
    std::string current;
};

/// Rows of a worksheet, each a line of its non-empty cells with one space between. One for each parse.
class SheetCollector : public XMLHandler {
public:
    SheetCollector(std::vector<std::string> sharedStrings, std::int64_t maximumOfRows)
        : shared(std::move(sharedStrings))
        , maxRows(maximumOfRows) {}

    void start(std::string_view name, const XMLAttributes& attributes) override;
    void characters(std::string_view characters) override;
    void end(std::string_view name) override;

    std::vector<std::string> shared; // the workbook's shared strings
    std::int64_t maxRows;            // lines after which the parse ends
    std::vector<std::string> out;
    std::vector<std::string> row;
    std::optional<std::string> cellType; // attribute "t" of the current cell
    std::string text;                    // of the current cell
    bool capture = false;

private:
    void endCell();
    void endRow();

    std::size_t m_bytes = 0; // of all rows: many cells may name one enormous shared string
};

/// What a `Collector` gathers from `xml`.
[[nodiscard]] std::vector<std::string> paragraphs(std::string_view xml, std::string paragraph,
                                                  std::optional<std::string> run = std::nullopt,
                                                  std::optional<std::string> attribute = std::nullopt);

/// What a `SheetCollector` gathers from `xml`.
[[nodiscard]] std::vector<std::string> sheetRows(std::string_view xml, std::vector<std::string> shared,
                                                 std::int64_t maxRows);

} // namespace vesto::readers::XMLText
