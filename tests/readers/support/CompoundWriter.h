#pragma once
#include "tests/readers/support/ZipWriter.h"

#include <algorithm>
#include <string>
#include <utility>
#include <vector>

namespace vesto::tests {

/// A compound file of sectors of 512 bytes with these streams in its root: small ones in small sectors. Its
/// tables: sector 0 the table of sectors, 1 that of small ones, 2 and on the directory.
inline std::string compoundFile(const std::vector<std::pair<std::string, std::string>>& streams) {
    constexpr std::size_t sector = 512, smallSector = 64, limit = 4096, end = 0xFFFFFFFE, unused = 0xFFFFFFFF;
    const std::size_t directorySectors = streams.size() / 4 + 1;
    std::vector<std::size_t> next{0xFFFFFFFD, end};
    std::vector<std::size_t> nextSmall;
    std::string small, large;
    const auto chain = [](std::vector<std::size_t>& table, std::size_t count) {
        const std::size_t first = table.size();
        for (std::size_t i = 0; i < count; ++i)
            table.push_back(i + 1 < count ? first + i + 1 : end);
        return count == 0 ? end : first;
    };
    const auto padded = [](std::string bytes, std::size_t unit) {
        bytes.resize((bytes.size() + unit - 1) / unit * unit);
        return bytes;
    };
    const std::size_t directoryStart = chain(next, directorySectors);
    std::vector<std::size_t> starts;
    for (const auto& [name, content] : streams) {
        if (content.size() < limit) {
            starts.push_back(chain(nextSmall, (content.size() + smallSector - 1) / smallSector));
            small += padded(content, smallSector);
        } else {
            starts.push_back(chain(next, (content.size() + sector - 1) / sector));
            large += padded(content, sector);
        }
    }
    const std::size_t smallStart = chain(next, (small.size() + sector - 1) / sector);

    const auto entry = [](const std::string& name, char type, std::size_t right, std::size_t child,
                          std::size_t start, std::size_t size) {
        std::string bytes;
        for (const char c : name)
            append16(bytes, static_cast<unsigned char>(c));
        bytes.resize(64);
        append16(bytes, 2 * name.size() + 2);
        bytes += type;
        bytes += '\1';
        append32(bytes, unused);
        append32(bytes, right);
        append32(bytes, child);
        bytes.append(36, '\0');
        append32(bytes, start);
        append32(bytes, size);
        append32(bytes, 0);
        return bytes;
    };
    std::string directory =
        entry("Root Entry", 5, unused, streams.empty() ? unused : 1, smallStart, small.size());
    for (std::size_t i = 0; i < streams.size(); ++i) // each the right sibling of the one before
        directory += entry(streams[i].first, 2, i + 1 < streams.size() ? i + 2 : unused, unused, starts[i],
                           streams[i].second.size());
    const auto table = [&](const std::vector<std::size_t>& numbers) {
        std::string bytes;
        for (const std::size_t number : numbers)
            append32(bytes, number);
        bytes.resize(std::max<std::size_t>(bytes.size(), sector), '\xFF');
        return bytes;
    };
    std::string header = "\xD0\xCF\x11\xE0\xA1\xB1\x1A\xE1" + std::string(16, '\0');
    for (const std::size_t number : {0x3EU, 3U, 0xFFFEU, 9U, 6U})
        append16(header, number);
    header.append(6, '\0');
    for (const std::size_t number : {std::size_t{0}, std::size_t{1}, directoryStart, std::size_t{0}, limit,
                                     std::size_t{1}, std::size_t{1}, end, std::size_t{0}, std::size_t{0}})
        append32(header, number);
    header.resize(sector, '\xFF');
    return header + table(next) + table(nextSmall) + padded(directory, sector) + large +
           padded(small, sector);
}

} // namespace vesto::tests
