#include "core/extraction/readers/office/HiddenRuns.h"

#include "core/extraction/readers/containers/LittleEndian.h"

#include <algorithm>

namespace vesto::readers {
namespace {

using namespace littleEndian;

constexpr std::size_t pageSize = 512;
constexpr std::size_t maxPages = 20'000;
constexpr int smallestHalfPoints = 4;

/// How many bytes of a format's list stand behind its number.
std::size_t operandSize(std::uint16_t format, std::string_view operands) {
    switch (format >> 13U) {
    case 0:
    case 1:
        return 1;
    case 2:
    case 4:
    case 5:
        return 2;
    case 3:
        return 4;
    case 7:
        return 3;
    default:
        return number8(operands, 0) + std::size_t{1};
    }
}

bool hides(std::string_view formats) {
    bool isHidden = false, isDeleted = false, isTiny = false;
    while (formats.size() > 2) {
        const std::uint16_t format = number16(formats, 0);
        formats.remove_prefix(2);
        constexpr std::uint16_t hidden = 0x083C, deleted = 0x0800, size = 0x4A43;
        // 0x81 is the opposite of the style's, which no sane style has.
        if (format == hidden)
            isHidden = number8(formats, 0) == 1 || number8(formats, 0) == 0x81;
        else if (format == deleted)
            isDeleted = number8(formats, 0) == 1;
        else if (format == size)
            isTiny = number16(formats, 0) < smallestHalfPoints;
        formats.remove_prefix(std::min(operandSize(format, formats), formats.size()));
    }
    return isHidden || isDeleted || isTiny;
}

} // namespace

HiddenRuns::HiddenRuns(std::string_view document, std::string_view pages) {
    const std::size_t count = pages.size() < 4 ? 0 : std::min((pages.size() - 4) / 8, maxPages);
    for (std::size_t i = 0; i < count; ++i) {
        const std::uint64_t number = number32(pages, 4 * (count + 1) + 4 * i) & 0x3F'FFFF;
        const std::string_view page = part(document, number * pageSize, pageSize);
        if (page.size() == pageSize)
            readPage(page);
    }
    std::ranges::sort(m_runs);
}

void HiddenRuns::readPage(std::string_view page) {
    const std::size_t runs = std::min<std::size_t>(number8(page, pageSize - 1), 101);
    for (std::size_t i = 0; i < runs; ++i) {
        const std::size_t place = 2 * std::size_t{number8(page, 4 * (runs + 1) + i)};
        if (place == 0 || !hides(part(page, place + 1, number8(page, place))))
            continue;
        const std::uint32_t begin = number32(page, 4 * i), end = number32(page, 4 * i + 4);
        if (begin < end)
            m_runs.emplace_back(begin, end);
    }
}

bool HiddenRuns::contains(std::uint32_t offset) const {
    if (m_runs.empty())
        return false;
    const auto behind =
        std::ranges::upper_bound(m_runs, offset, {}, &std::pair<std::uint32_t, std::uint32_t>::first);
    return behind != m_runs.begin() && offset < std::prev(behind)->second;
}

} // namespace vesto::readers
