#pragma once
#include <cstdint>
#include <string>
#include <string_view>

namespace vesto::fuzz {

/// Writes an archive of members that are stored as they are.
class StoredZip {
public:
    void add(std::string_view name, std::string_view data) {
        const std::size_t offset = m_bytes.size();
        appendHeader(m_bytes, "PK\x03\x04", name, data);
        m_bytes.append(name).append(data);
        appendHeader(m_directory, std::string_view("PK\x01\x02\x14\0", 6), name, data);
        number(m_directory, 0, 2); // comment, disk, attributes
        number(m_directory, 0, 2);
        number(m_directory, 0, 2);
        number(m_directory, 0, 4);
        number(m_directory, offset, 4);
        m_directory += name;
        ++m_count;
    }

    [[nodiscard]] std::string finish() {
        const std::size_t offset = m_bytes.size();
        m_bytes += m_directory;
        m_bytes += "PK\x05\x06";
        number(m_bytes, 0, 4);
        number(m_bytes, m_count, 2);
        number(m_bytes, m_count, 2);
        number(m_bytes, m_directory.size(), 4);
        number(m_bytes, offset, 4);
        number(m_bytes, 0, 2);
        return std::move(m_bytes);
    }

private:
    static void number(std::string& out, std::size_t value, int bytes) {
        for (int i = 0; i < bytes; ++i)
            out += static_cast<char>((value >> (8 * i)) & 0xFF);
    }

    /// The fields that both headers share; checksums are zero, nobody looks at them.
    static void appendHeader(std::string& out, std::string_view start, std::string_view name,
                             std::string_view data) {
        out += start;
        number(out, 20, 2); // version, flags, method, time, date, checksum
        number(out, 0, 2);
        number(out, 0, 2);
        number(out, 0, 4);
        number(out, 0, 4);
        number(out, data.size(), 4);
        number(out, data.size(), 4);
        number(out, name.size(), 2);
        number(out, 0, 2); // extra field
    }

    std::string m_bytes;
    std::string m_directory;
    std::size_t m_count = 0;
};

} // namespace vesto::fuzz
