#include "core/extraction/readers/containers/CompoundFile.h"

#include "core/extraction/readers/Ascii.h"
#include "core/extraction/readers/containers/LittleEndian.h"

#include <algorithm>

namespace vesto::readers {
namespace {

using namespace littleEndian;

constexpr std::string_view signature = "\xD0\xCF\x11\xE0\xA1\xB1\x1A\xE1";
constexpr std::size_t headerSize = 512;
constexpr std::size_t entrySize = 128;
constexpr std::size_t maxDirectoryBytes = std::size_t{1} << 22U;
constexpr std::uint32_t noEntry = 0xFFFFFFFF;
constexpr std::uint32_t lastSector = 0xFFFFFFFA; // numbers above it mean something else

/// The name of an entry as far as it is ASCII, as all that are asked for are; empty for any other.
std::string nameOfEntry(std::string_view entry) {
    const std::size_t bytes = std::min<std::size_t>(number16(entry, 64), 64);
    std::string name;
    for (std::size_t i = 0; i + 2 < bytes; i += 2) { // without the zero at the end
        const std::uint16_t unit = number16(entry, i);
        if (unit == 0 || unit > 0x7F)
            return {};
        name += ascii::lower(static_cast<char>(unit));
    }
    return name;
}

} // namespace

bool CompoundFile::isOne(std::string_view bytes) {
    return bytes.starts_with(signature);
}

std::optional<CompoundFile> CompoundFile::open(std::string_view bytes) {
    if (!isOne(bytes) || bytes.size() < headerSize)
        return std::nullopt;
    CompoundFile file(bytes);
    if (!file.readTables())
        return std::nullopt;
    return file;
}

std::string_view CompoundFile::sector(std::uint32_t index) const {
    return part(m_bytes, (std::uint64_t{index} + 1) * m_sectorSize, m_sectorSize);
}

bool CompoundFile::readTables() {
    const unsigned shift = number16(m_bytes, 30);
    const unsigned smallShift = number16(m_bytes, 32);
    if ((shift != 9 && shift != 12) || smallShift != 6)
        return false;
    m_sectorSize = std::size_t{1} << shift;
    m_smallLimit = number32(m_bytes, 56);
    const std::size_t sectors = m_bytes.size() / m_sectorSize;
    const std::size_t numbers = m_sectorSize / 4; // in one sector
    const auto addTable = [&](std::uint32_t index) {
        const std::string_view table = index < lastSector ? sector(index) : std::string_view();
        for (std::size_t i = 0; i < numbers && m_next.size() < sectors; ++i)
            m_next.push_back(table.size() < 4 * (i + 1) ? noEntry : number32(table, 4 * i));
    };
    constexpr std::size_t numbersInHeader = 109;
    for (std::size_t i = 0; i < numbersInHeader && m_next.size() < sectors; ++i)
        addTable(number32(m_bytes, 76 + 4 * i));
    // More of the table's sectors are listed in a chain of its own.
    std::uint32_t list = number32(m_bytes, 68);
    while (list < lastSector && m_next.size() < sectors) {
        const std::string_view numbersOfTable = sector(list);
        if (numbersOfTable.size() < m_sectorSize)
            break;
        for (std::size_t i = 0; i + 1 < numbers && m_next.size() < sectors; ++i)
            addTable(number32(numbersOfTable, 4 * i));
        list = number32(numbersOfTable, m_sectorSize - 4);
    }
    const std::string directory = chain(number32(m_bytes, 48), maxDirectoryBytes);
    m_smallTable = chain(number32(m_bytes, 60), std::uint64_t{number32(m_bytes, 64)} * m_sectorSize);
    readDirectory(directory);
    return directory.size() >= entrySize;
}

void CompoundFile::readDirectory(const std::string& directory) {
    const std::size_t count = directory.size() / entrySize;
    const auto entry = [&](std::size_t index) {
        return std::string_view(directory).substr(index * entrySize, entrySize);
    };
    if (count == 0)
        return;
    // In files of small sectors the upper half of a size may be anything.
    const std::uint64_t sizeMask = m_sectorSize == 512 ? 0xFFFFFFFFU : ~std::uint64_t{0};
    const auto contentOf = [&](std::string_view bytes) {
        return Entry{number32(bytes, 116), number64(bytes, 120) & sizeMask};
    };
    m_smallSectors = contentOf(entry(0));
    // The entries of a folder are a tree of siblings.
    std::vector<bool> seen(count);
    std::vector<std::uint32_t> waiting{number32(entry(0), 76)};
    while (!waiting.empty()) {
        const std::uint32_t index = waiting.back();
        waiting.pop_back();
        if (index >= count || seen[index])
            continue;
        seen[index] = true;
        const std::string_view bytes = entry(index);
        constexpr std::uint8_t isStream = 2;
        if (number8(bytes, 66) == isStream)
            m_streams.try_emplace(nameOfEntry(bytes), contentOf(bytes));
        waiting.push_back(number32(bytes, 68));
        waiting.push_back(number32(bytes, 72));
    }
}

std::string CompoundFile::chain(std::uint32_t start, std::uint64_t size) const {
    std::string bytes;
    const std::uint64_t wanted = std::min<std::uint64_t>(size, maxStreamBytes);
    std::uint32_t index = start;
    for (std::size_t steps = 0; index < m_next.size() && steps < m_next.size() && bytes.size() < wanted;
         ++steps) {
        bytes += sector(index).substr(0, wanted - bytes.size());
        index = m_next[index];
    }
    return bytes;
}

std::string CompoundFile::smallChain(std::uint32_t start, std::uint64_t size) const {
    const std::string container = chain(m_smallSectors.start, m_smallSectors.size);
    const std::size_t count = m_smallTable.size() / 4;
    std::string bytes;
    std::uint32_t index = start;
    for (std::size_t steps = 0; index < count && steps < count && bytes.size() < size; ++steps) {
        bytes += part(container, std::uint64_t{index} * m_smallSectorSize,
                      std::min<std::uint64_t>(m_smallSectorSize, size - bytes.size()));
        index = number32(m_smallTable, std::uint64_t{index} * 4);
    }
    return bytes;
}

std::optional<std::string> CompoundFile::stream(std::string_view name) const {
    const auto found = m_streams.find(ascii::lowered(name));
    if (found == m_streams.end())
        return std::nullopt;
    const auto [start, size] = found->second;
    return size < m_smallLimit ? smallChain(start, size) : chain(start, size);
}

} // namespace vesto::readers
