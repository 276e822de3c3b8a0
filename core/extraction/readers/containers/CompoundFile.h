#pragma once
#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace vesto::readers {

/// The container of the binary Office formats: streams in chains of sectors. Only the streams of its root are
/// seen. Linear time and bounded memory whatever the tables say: loops end, lying sizes give less. Functions
/// may be called from several threads.
class CompoundFile {
public:
    static constexpr std::size_t maxStreamBytes = std::size_t{1} << 26U;

    /// Whether the bytes begin as one.
    [[nodiscard]] static bool isOne(std::string_view bytes);

    /// Nothing where the bytes are none or its directory cannot be read. The bytes are borrowed.
    [[nodiscard]] static std::optional<CompoundFile> open(std::string_view bytes);

    /// What is there of a stream, at most `maxStreamBytes`; nothing where there is none of that name (as it
    /// is written, in any letter case).
    [[nodiscard]] std::optional<std::string> stream(std::string_view name) const;

private:
    struct Entry {
        std::uint32_t start = 0;
        std::uint64_t size = 0; // bytes, as declared
    };

    explicit CompoundFile(std::string_view bytes)
        : m_bytes(bytes) {}

    bool readTables();
    void readDirectory(const std::string& directory);
    [[nodiscard]] std::string_view sector(std::uint32_t index) const;
    [[nodiscard]] std::string chain(std::uint32_t start, std::uint64_t size) const;
    [[nodiscard]] std::string smallChain(std::uint32_t start, std::uint64_t size) const;

    std::string_view m_bytes;
    std::size_t m_sectorSize = 512;
    std::size_t m_smallSectorSize = 64;
    std::uint64_t m_smallLimit = 4096;                   // streams below it lie in small sectors
    std::vector<std::uint32_t> m_next;                   // by sector
    std::string m_smallTable;                            // the same for small sectors, as bytes
    Entry m_smallSectors;                                // the stream that holds them
    std::map<std::string, Entry, std::less<>> m_streams; // of the root, by name in small letters
};

} // namespace vesto::readers
