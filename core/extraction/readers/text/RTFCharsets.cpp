#include "core/extraction/readers/text/RTFCharsets.h"

#include <algorithm>
#include <array>

namespace vesto::readers {

std::string charsetOfFont(int number) {
    struct Row {
        int number, codePage;
    };
    static constexpr std::array<Row, 19> rows{{{0, 1252},
                                               {77, 10000},
                                               {78, 932},
                                               {128, 932},
                                               {129, 949},
                                               {130, 1361},
                                               {134, 936},
                                               {136, 950},
                                               {161, 1253},
                                               {162, 1254},
                                               {163, 1258},
                                               {177, 1255},
                                               {178, 1256},
                                               {186, 1257},
                                               {204, 1251},
                                               {222, 874},
                                               {238, 1250},
                                               {254, 437},
                                               {255, 850}}};
    const auto row = std::ranges::find(rows, number, &Row::number);
    return row == rows.end() ? std::string() : charsetOfCodePage(row->codePage);
}

std::string charsetOfCodePage(int codePage) {
    switch (codePage) {
    case 437:
    case 850:
    case 852:
    case 858:
    case 860:
    case 862:
    case 863:
    case 864:
    case 865:
    case 866:
    case 1361:
        return "ibm-" + std::to_string(codePage);
    case 10000:
        return "macintosh";
    case 65001:
        return "UTF-8";
    default:
        return codePage > 0 ? "windows-" + std::to_string(codePage) : std::string();
    }
}

} // namespace vesto::readers
