#pragma once
#include "core/extraction/readers/containers/LittleEndian.h"

#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

/// The records that the streams of Excel and PowerPoint consist of. All views are parts of the stream.
namespace vesto::readers {

struct SheetRecord {
    std::uint16_t type = 0;
    std::string_view data = {}; // what is there of it
};

/// Takes the record at `offset`, which moves behind it; nothing at the end.
[[nodiscard]] inline std::optional<SheetRecord> nextSheetRecord(std::string_view stream,
                                                                std::uint64_t& offset) {
    using namespace littleEndian;
    if (offset + 4 > stream.size())
        return std::nullopt;
    const std::uint16_t size = number16(stream, offset + 2);
    const SheetRecord record{number16(stream, offset), part(stream, offset + 4, size)};
    offset += 4U + size;
    return record;
}

struct SlideRecord {
    std::uint16_t type = 0;
    std::uint16_t instance = 0;
    bool isContainer = false; // its data are records
    std::string_view data = {};
};

/// Takes the record at the front of `records` off; nothing at the end.
[[nodiscard]] inline std::optional<SlideRecord> takeSlideRecord(std::string_view& records) {
    using namespace littleEndian;
    if (records.size() < 8)
        return std::nullopt;
    const std::uint16_t head = number16(records, 0);
    const SlideRecord record{.type = number16(records, 2),
                             .instance = static_cast<std::uint16_t>(head >> 4U),
                             .isContainer = (head & 0xFU) == 0xF,
                             .data = part(records, 8, number32(records, 4))};
    records.remove_prefix(8 + record.data.size());
    return record;
}

} // namespace vesto::readers
