#pragma once
#include "core/extraction/readers/FileBytes.h"

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace vesto::readers {

/// The bytes of one archive member: a part of the archive where it is stored as it is, else a buffer of its
/// own.
class ZipMember {
public:
    explicit ZipMember(std::string_view stored)
        : m_view(stored) {}
    ZipMember(std::unique_ptr<char[]> inflated, std::size_t size)
        : m_inflated(std::move(inflated))
        , m_view(m_inflated.get(), size) {}

    /// Valid as long as the member and the archive's bytes.
    [[nodiscard]] std::string_view view() const { return m_view; }

private:
    std::unique_ptr<char[]> m_inflated;
    std::string_view m_view;
};

/// The central directory of a ZIP archive and its members, stored or deflated. Flags, encryption, ZIP64
/// records, checksums and disk numbers are not looked at. Linear time, whatever the numbers say; `data` may
/// be called from several threads.
class ZipReader {
public:
    struct Entry {
        std::uint16_t method = 0;
        std::int64_t compressedSize = 0; // bytes
        std::int64_t size = 0;           // bytes, as declared
        std::int64_t offset = 0;         // of the local header
    };
    using Entries = std::map<std::string, Entry, std::less<>>;

    static constexpr std::int64_t maxMemberSize = 16'777'216; // bytes, inflated

    /// Nothing where `archive` is none, or damaged in its directory. The bytes are borrowed.
    [[nodiscard]] static std::optional<ZipReader> open(std::string_view archive);

    /// The same for a file of at most `maxBytes`, which it maps. `fd` is borrowed for the life of the object.
    [[nodiscard]] static std::optional<ZipReader> open(int fd, std::uint64_t maxBytes);

    [[nodiscard]] const Entries& entries() const { return m_entries; }

    /// Nothing for an unknown name, a member of more than `maxMemberSize`, an unknown method, damaged
    /// headers, or deflated data that does not fill the declared size.
    [[nodiscard]] std::optional<ZipMember> data(std::string_view name) const;

    /// Whether the mapped file has become shorter meanwhile; never for borrowed bytes.
    [[nodiscard]] bool wasTruncated() const { return m_file.has_value() && m_file->wasTruncated(); }

private:
    explicit ZipReader(std::string_view data)
        : m_data(data) {}
    bool readDirectory();

    std::optional<FileBytes> m_file; // where the reader mapped it
    std::string_view m_data;
    Entries m_entries;
};

} // namespace vesto::readers
