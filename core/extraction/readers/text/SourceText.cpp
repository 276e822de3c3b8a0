#include "core/extraction/readers/text/SourceText.h"

#include "core/extraction/readers/Ascii.h"
#include "core/extraction/readers/LineCollector.h"
#include "core/extraction/readers/text/PlainTextReader.h"
#include "core/support/Unicode.h"

#include <algorithm>
#include <array>

namespace vesto::readers {
namespace {

struct FormatRow {
    std::string_view extensions; // with a blank before and after each
    SourceFormat format;
};

using enum CommentStyle;

constexpr FormatRow formats[] = {
    {" c ", {"C", slashes}},
    {" h ", {"C", slashes}},
    {" cpp cc cxx c++ ixx cppm hpp hh hxx h++ ipp tpp ", {"C++", slashes}},
    {" ino ", {"Arduino", slashes}},
    {" m mm ", {"Objective-C", slashes}},
    {" s asm ", {"Assembleur", semicolon}},
    {" swift ", {"Swift", slashes}},
    {" rs ", {"Rust", slashes}},
    {" go ", {"Go", slashes}},
    {" zig ", {"Zig", slashes}},
    {" java ", {"Java", slashes}},
    {" kt kts ", {"Kotlin", slashes}},
    {" scala sc ", {"Scala", slashes}},
    {" groovy gradle ", {"Groovy", slashes}},
    {" clj cljs edn ", {"Clojure", semicolon}},
    {" cs csx ", {"C#", slashes}},
    {" fs fsx fsi ", {"F#", slashes}},
    {" vb vbs bas ", {"Visual Basic", none}},
    {" js mjs cjs jsx ", {"JavaScript", slashes}},
    {" ts tsx cts ", {"TypeScript", slashes}},
    {" dart ", {"Dart", slashes}},
    {" css scss sass less ", {"CSS", slashes}},
    {" vue ", {"Vue", markup}},
    {" svelte astro ", {"JavaScript", markup}},
    {" php phtml ", {"PHP", slashes}},
    {" py pyw pyi ", {"Python", hash}},
    {" rb rake gemspec ", {"Ruby", hash}},
    {" pl pm ", {"Perl", hash}},
    {" sh ksh bash zsh fish ", {"Shell", hash}},
    {" ps1 psm1 ", {"PowerShell", hash}},
    {" bat cmd ", {"Batch", none}},
    {" awk ", {"AWK", hash}},
    {" sed ", {"sed", hash}},
    {" tcl ", {"Tcl", hash}},
    {" lua ", {"Lua", dashes}},
    {" r ", {"R", hash}},
    {" jl ", {"Julia", hash}},
    {" nim ", {"Nim", hash}},
    {" hs lhs ", {"Haskell", dashes}},
    {" elm ", {"Elm", dashes}},
    {" purs ", {"PureScript", dashes}},
    {" ml mli ", {"OCaml", none}},
    {" erl hrl ", {"Erlang", percent}},
    {" ex exs ", {"Elixir", hash}},
    {" lisp el scm rkt ", {"Lisp", semicolon}},
    {" f f77 f90 f95 f03 for ", {"Fortran", none}},
    {" pas dpr ", {"Pascal", slashes}},
    {" adb ads ", {"Ada", dashes}},
    {" d ", {"D", slashes}},
    {" sv ", {"Verilog", slashes}},
    {" vhd vhdl ", {"VHDL", dashes}},
    {" sql ", {"SQL", dashes}},
    {" mk mak ", {"Make", hash}},
    {" cmake ", {"CMake", hash}},
    {" ninja ", {"Ninja", hash}},
    {" tf hcl ", {"Terraform", hash}},
    {" nix ", {"Nix", hash}},
    {" graphql gql ", {"GraphQL", hash}},
    {" proto ", {"Protocol Buffers", slashes}},
    {" tex sty cls ltx ", {"LaTeX", percent}},
    {" xml xsd xsl xslt dtd ", {"XML", markup}},
    {" yaml yml ", {"YAML", hash}},
    {" toml ", {"TOML", hash}},
};

struct Marks {
    std::string_view line;       // begins a comment that ends with its line
    std::string_view begin, end; // of one over several lines; empty where there is none
};

Marks marksOf(CommentStyle style) {
    switch (style) {
    case slashes:
        return {"//", "/*", "*/"};
    case hash:
        return {"#", "\"\"\"", "\"\"\""};
    case dashes:
        return {"--", "/*", "*/"};
    case semicolon:
        return {";", "#|", "|#"};
    case percent:
        return {"%", {}, {}};
    case markup:
        return {{}, "<!--", "-->"};
    case none:
        break;
    }
    return {};
}

/// Words by which a licence is known, in small letters. What follows them in the same comment belongs to it.
bool speaksOfLicence(std::string_view line) {
    static constexpr std::array<std::string_view, 13> words{"copyright",
                                                            "copyleft",
                                                            "licence",
                                                            "license",
                                                            "(c) 19",
                                                            "(c) 20",
                                                            "spdx-",
                                                            "permission is hereby granted",
                                                            "free software",
                                                            "all rights reserved",
                                                            "tous droits",
                                                            "redistribution and use",
                                                            "this file is part of"};
    const std::string small = ascii::lowered(line.substr(0, 400));
    return std::ranges::any_of(words, [&](std::string_view word) { return small.find(word) != small.npos; });
}

/// Lines that say who made a file with which program, or what it needs, and nothing of what it is.
bool isPreamble(std::string_view line) {
    static constexpr std::array<std::string_view, 22> starts{
        "#!",       "#include", "#import",     "#pragma",   "#ifndef",      "#define",
        "#region",  "@import",  "import ",     "from ",     "using ",       "use ",
        "require",  "package ", "<?",          "<!doctype", "'use strict'", "\"use strict\"",
        "library(", "@charset", "created by ", "# -*-"};
    return std::ranges::any_of(
        starts, [&](std::string_view start) { return ascii::startsWithIgnoringCase(line, start); });
}

bool hasAlphanumeric(std::string_view line) {
    for (std::size_t i = 0; i < line.size();) {
        const auto [scalar, size] = unicode::scalarAt(line, i);
        if (unicode::isAlphanumeric(scalar))
            return true;
        i += size;
    }
    return false;
}

/// Sorts the lines before the first statement.
class HeaderReader {
public:
    HeaderReader(CommentStyle style, LineCollector& lines)
        : m_marks(marksOf(style))
        , m_lines(lines) {}

    /// Whether `line`, trimmed, still belongs before the first statement. Takes it then.
    bool take(std::string_view line) {
        if (m_inBlock) {
            blockLine(line);
            return true;
        }
        if (isPreamble(line)) {
            m_isLicence = false;
            return true;
        }
        if (!m_marks.begin.empty() && line.starts_with(m_marks.begin)) {
            m_inBlock = true;
            m_isLicence = false;
            blockLine(line.substr(m_marks.begin.size()));
            return true;
        }
        if (!m_marks.line.empty() && line.starts_with(m_marks.line)) {
            comment(line);
            return true;
        }
        m_isLicence = false;
        return line.empty();
    }

private:
    void blockLine(std::string_view line) {
        const std::size_t end = line.find(m_marks.end);
        m_inBlock = end == line.npos;
        comment(line.substr(0, end));
        if (!m_inBlock)
            m_isLicence = false;
    }

    void comment(std::string_view line) {
        line = ascii::trimmed(line);
        while (!line.empty() && std::string_view("/*#-;%!<\"").find(line.front()) != std::string_view::npos)
            line.remove_prefix(1);
        line = ascii::trimmed(line);
        m_isLicence = m_isLicence || speaksOfLicence(line);
        if (!m_isLicence && !isPreamble(line) && hasAlphanumeric(line))
            m_lines.add(line);
    }

    Marks m_marks;
    LineCollector& m_lines;
    bool m_inBlock = false;
    bool m_isLicence = false; // the comment that is being read
};

} // namespace

std::optional<SourceFormat> sourceFormatOf(std::string_view extension) {
    const std::string word = ' ' + ascii::lowered(extension) + ' ';
    for (const FormatRow& row : formats)
        if (row.extensions.find(word) != row.extensions.npos)
            return row.format;
    return std::nullopt;
}

DocumentText sourceText(std::string_view text, CommentStyle comments) {
    LineCollector lines;
    HeaderReader header(comments, lines);
    bool inHeader = true;
    for (std::size_t offset = 0; offset < text.size() && !lines.full();) {
        const std::string_view line = ascii::trimmed(nextLine(text, offset));
        inHeader = inHeader && header.take(line);
        if (!inHeader && hasAlphanumeric(line))
            lines.add(line);
    }
    if (lines.empty()) // nothing but a licence
        return plainText(text);
    return {.lines = lines.take()};
}

} // namespace vesto::readers
