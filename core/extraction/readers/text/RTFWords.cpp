#include "core/extraction/readers/text/RTFWords.h"

#include <algorithm>
#include <array>

namespace vesto::readers::rtf {

bool beginsSkipped(std::string_view word) {
    static constexpr std::array<std::string_view, 35> words{
        "annotation", "atnauthor",  "atnid",     "bkmkend", "bkmkstart", "datafield", "do",
        "filetbl",    "footer",     "footerf",   "footerl", "footerr",   "footnote",  "ftncn",
        "ftnsep",     "ftnsepc",    "generator", "header",  "headerf",   "headerl",   "headerr",
        "listtext",   "nonshppict", "objdata",   "pict",    "pntext",    "private",   "rxe",
        "shprslt",    "stylesheet", "tc",        "tcn",     "template",  "txe",       "xe"};
    return std::ranges::binary_search(words, word);
}

char32_t scalarOfWord(std::string_view word) {
    struct Row {
        std::string_view word;
        char32_t scalar;
    };
    static constexpr std::array<Row, 11> rows{{{"bullet", 0x2022},
                                               {"cell", ' '},
                                               {"emdash", 0x2014},
                                               {"emspace", ' '},
                                               {"endash", 0x2013},
                                               {"enspace", ' '},
                                               {"ldblquote", 0x201C},
                                               {"lquote", 0x2018},
                                               {"nestcell", ' '},
                                               {"rdblquote", 0x201D},
                                               {"rquote", 0x2019}}};
    const auto row = std::ranges::find(rows, word, &Row::word);
    return row != rows.end() ? row->scalar : word == "tab" || word == "qmspace" ? U' ' : U'\0';
}

bool breaksLine(std::string_view word) {
    static constexpr std::array<std::string_view, 9> words{"column", "line", "nestrow",  "page",    "par",
                                                           "row",    "sect", "softline", "softpage"};
    return std::ranges::find(words, word) != words.end();
}

} // namespace vesto::readers::rtf
