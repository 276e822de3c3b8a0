#pragma once
#include <string>
#include <string_view>
#include <vector>

namespace vesto {

/// In points, before it is turned clockwise by a multiple of 90 degrees.
struct PDFSheet {
    int width = 595;
    int height = 842;
    int rotation = 0;
};

/// Writes small PDF files: pages of text in one font, and a document information dictionary.
class PDFWriter {
public:
    /// One page; `content` is its content stream, as `textAt` writes it.
    void addPage(std::string content, PDFSheet sheet = {}) { m_pages.push_back({std::move(content), sheet}); }

    /// Lines of 11 points from the top of a page, one below the other, at `x` points from the left.
    [[nodiscard]] static std::string column(double x, const std::vector<std::string>& lines);

    /// UTF-8 `text` as far as windows-1252 has it, U+00AD and U+FB01 besides; its left end in points.
    [[nodiscard]] static std::string textAt(double x, double y, double size, std::string_view text);

    /// `value` as PDF writes it, delimiters included: "(Titre)", "<FEFF...>".
    void setInfo(std::string_view key, std::string_view value);

    /// The whole file, its cross-reference table included.
    [[nodiscard]] std::string bytes() const;

private:
    struct Page {
        std::string content;
        PDFSheet sheet;
    };
    std::vector<Page> m_pages;
    std::string m_info;
};

/// A PDF of one page with these lines.
[[nodiscard]] std::string pdfOfLines(const std::vector<std::string>& lines);

} // namespace vesto
