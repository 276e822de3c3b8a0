#include "core/extraction/readers/ReadingLimits.h"
#include "core/extraction/readers/containers/CompoundFile.h"
#include "core/extraction/readers/containers/PropertySet.h"
#include "core/extraction/readers/office/BinaryOffice.h"
#include "core/extraction/readers/office/HiddenRuns.h"
#include "fuzz/Input.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

using namespace vesto::readers;

namespace {

void check(const std::optional<OfficeText>& document) {
    if (!document)
        return;
    vesto::fuzz::checkLines(document->lines, 4 * maxCharacters);
    VESTO_ASSERT(!document->title ||
                 (!document->title->empty() && vesto::unicode::isValid(*document->title)));
}

/// A compound file whose root holds one large stream after another, so that a fuzzer works on what stands in
/// them and not on the tables.
std::string container(const std::vector<std::pair<std::string, std::string>>& streams) {
    std::string header("\xD0\xCF\x11\xE0\xA1\xB1\x1A\xE1", 8), table, directory, content;
    const auto number = [](std::string& out, std::size_t value, int bytes) {
        for (int i = 0; i < bytes; ++i)
            out += static_cast<char>(value >> (8 * i) & 0xFF);
    };
    constexpr std::size_t end = 0xFFFFFFFE, none = 0xFFFFFFFF, sector = 512, tables = 4;
    std::size_t next = tables + 1 + streams.size() / 4;
    const auto entry = [&](const std::string& name, int type, std::size_t right, std::size_t child,
                           std::size_t start, std::size_t size) {
        std::string bytes;
        for (const char c : name)
            number(bytes, static_cast<unsigned char>(c), 2);
        bytes.resize(64);
        number(bytes, 2 * name.size() + 2, 2);
        number(bytes, static_cast<std::size_t>(type), 2);
        for (const std::size_t value : {none, right, child})
            number(bytes, value, 4);
        bytes.resize(116);
        number(bytes, start, 4);
        number(bytes, size, 8);
        directory += bytes;
    };
    const auto chain = [&](std::size_t count) {
        for (std::size_t i = 0; i < count; ++i)
            number(table, i + 1 < count ? table.size() / 4 + 1 : end, 4);
    };
    for (std::size_t i = 0; i < tables; ++i)
        number(table, 0xFFFFFFFD, 4);
    chain(next - tables);
    entry("Root Entry", 5, none, 1, end, 0);
    for (std::size_t i = 0; i < streams.size(); ++i) {
        const std::size_t count = (streams[i].second.size() + sector - 1) / sector;
        entry(streams[i].first, 2, i + 1 < streams.size() ? i + 2 : none, none, count == 0 ? end : next,
              streams[i].second.size());
        chain(count);
        next += count;
        content += streams[i].second;
        content.resize(content.size() + (sector - content.size() % sector) % sector);
    }
    directory.resize((1 + streams.size() / 4) * sector);
    table.resize(tables * sector, '\xFF');
    header.resize(24);
    for (const std::size_t value : {0x3EU, 3U, 0xFFFEU, 9U, 6U})
        number(header, value, 2);
    header.resize(48);
    number(header, tables, 4);
    number(header, 0, 4);
    number(header, 0, 4); // no small sectors
    number(header, end, 4);
    number(header, 0, 4);
    number(header, end, 4);
    number(header, 0, 4);
    for (std::size_t i = 0; i < tables; ++i)
        number(header, i, 4);
    header.resize(sector, '\xFF');
    return header + table + directory + content;
}

} // namespace

/// The first byte chooses: a whole file, or one that holds the texts that follow as its streams.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size > 60'000) // the tables of `container` reach no further
        return 0;
    vesto::fuzz::Input input(data, size);
    const unsigned choice = input.choice(5);
    switch (choice) {
    case 0:
        check(readBinaryWord(input.rest()));
        check(readBinaryWorkbook(input.rest()));
        check(readBinarySlides(input.rest()));
        break;
    case 1: {
        const std::size_t half = input.rest().size() / 2;
        check(readBinaryWord(container({{"WordDocument", std::string(input.rest().substr(0, half))},
                                        {"1Table", std::string(input.rest().substr(half))},
                                        {"0Table", std::string(input.rest().substr(half))}})));
        break;
    }
    case 2:
        check(readBinaryWorkbook(container({{"Workbook", std::string(input.rest())}})));
        break;
    case 3: {
        const std::size_t user = std::min<std::size_t>(input.rest().size(), 20);
        check(readBinarySlides(container({{"Current User", std::string(input.rest().substr(0, user))},
                                          {"PowerPoint Document", std::string(input.rest().substr(user))}})));
        break;
    }
    default:
        VESTO_ASSERT(readPropertySet(input.rest()).title.size() <= std::size_t{64} * 1024);
        break;
    }
    return 0;
}
