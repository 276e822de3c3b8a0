#include "tests/readers/support/PDFWriter.h"

#include "core/support/Unicode.h"

#include <fmt/format.h>

#include <map>

namespace vesto {
namespace {

/// The code of a scalar in the writer's font, which is WinAnsi with two glyphs more.
unsigned codeOf(char32_t scalar) {
    static const std::map<char32_t, unsigned> others{
        {0xAD, 1},      {0xFB01, 2},    {0x20AC, 0x80}, {0x2026, 0x85}, {0x152, 0x8C},  {0x2018, 0x91},
        {0x2019, 0x92}, {0x201C, 0x93}, {0x201D, 0x94}, {0x2013, 0x96}, {0x2014, 0x97}, {0x153, 0x9C}};
    const auto found = others.find(scalar);
    if (found != others.end())
        return found->second;
    return scalar < 0x100 ? static_cast<unsigned>(scalar) : '?';
}

std::string literal(std::string_view text) {
    std::string escaped = "(";
    for (std::size_t offset = 0; offset < text.size();) {
        const auto [value, size] = unicode::scalarAt(text, offset);
        escaped += fmt::format("\\{:03o}", codeOf(value));
        offset += size;
    }
    return escaped + ")";
}

} // namespace

std::string PDFWriter::column(double x, const std::vector<std::string>& lines) {
    std::string content;
    double y = 780;
    for (const std::string& line : lines) {
        content += textAt(x, y, 11, line);
        y -= 14;
    }
    return content;
}

std::string PDFWriter::textAt(double x, double y, double size, std::string_view text) {
    return fmt::format("BT /F1 {} Tf 1 0 0 1 {} {} Tm {} Tj ET\n", size, x, y, literal(text));
}

void PDFWriter::setInfo(std::string_view key, std::string_view value) {
    m_info += fmt::format("/{} {}\n", key, value);
}

std::string PDFWriter::bytes() const {
    // Objects 1 to 4 stand for the whole document; each page has two of its own after them.
    std::vector<std::string> objects{
        "<< /Type /Catalog /Pages 2 0 R >>",
        "",
        "<< /Type /Font /Subtype /Type1 /BaseFont /Helvetica /Encoding << /Type /Encoding"
        " /BaseEncoding /WinAnsiEncoding /Differences [1 /softhyphen /fi] >> >>",
        fmt::format("<< {}>>", m_info),
    };
    std::string kids;
    for (const auto& [content, sheet] : m_pages) {
        const std::size_t number = objects.size() + 1;
        kids += fmt::format("{} 0 R ", number);
        objects.push_back(fmt::format("<< /Type /Page /Parent 2 0 R /MediaBox [0 0 {} {}] /Rotate {}"
                                      " /Contents {} 0 R"
                                      " /Resources << /Font << /F1 3 0 R >> >> >>",
                                      sheet.width, sheet.height, sheet.rotation, number + 1));
        objects.push_back(fmt::format("<< /Length {} >>\nstream\n{}endstream", content.size(), content));
    }
    objects[1] = fmt::format("<< /Type /Pages /Kids [{}] /Count {} >>", kids, m_pages.size());

    std::string file = "%PDF-1.4\n%\xE2\xE3\xCF\xD3\n";
    std::string table = fmt::format("xref\n0 {}\n0000000000 65535 f \n", objects.size() + 1);
    for (std::size_t i = 0; i < objects.size(); ++i) {
        table += fmt::format("{:010} 00000 n \n", file.size());
        file += fmt::format("{} 0 obj\n{}\nendobj\n", i + 1, objects[i]);
    }
    const std::size_t start = file.size();
    return file + table +
           fmt::format("trailer\n<< /Size {} /Root 1 0 R /Info 4 0 R >>\nstartxref\n{}\n%%EOF\n",
                       objects.size() + 1, start);
}

std::string pdfOfLines(const std::vector<std::string>& lines) {
    PDFWriter writer;
    writer.addPage(PDFWriter::column(60, lines));
    return writer.bytes();
}

} // namespace vesto
