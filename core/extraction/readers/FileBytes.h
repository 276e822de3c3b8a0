#pragma once
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>

namespace vesto::readers {

/// The bytes of a regular file, mapped read-only; unmapped with the object.
///
/// Another program may cut the file short meanwhile. The lost pages then read as zeros instead of killing the
/// process, and `wasTruncated` says so: whoever parsed the bytes asks it before trusting the outcome.
class FileBytes {
public:
    /// Nothing where `fd` is no regular file, holds more than `maxBytes` or cannot be read. `fd` is borrowed
    /// and stays open as long as the object lives. An empty file gives an empty view. Callable from any
    /// thread.
    [[nodiscard]] static std::optional<FileBytes> map(int fd, std::uint64_t maxBytes);

    FileBytes(FileBytes&& other) noexcept;
    FileBytes& operator=(FileBytes&& other) noexcept;
    ~FileBytes();

    /// Valid as long as the object, wherever it is moved.
    [[nodiscard]] std::string_view view() const { return {static_cast<const char*>(m_address), m_size}; }

    /// Whether the file has become shorter, or a part of it could not be read.
    [[nodiscard]] bool wasTruncated() const;

private:
    FileBytes() = default;
    bool readCopy();
    void release() noexcept;

    int m_fd = -1;
    void* m_address = nullptr; // null for an empty file
    std::size_t m_size = 0;    // bytes
    int m_slot = -1;           // in the table of guarded mappings; none for a copy
    bool m_shortCopy = false;
};

} // namespace vesto::readers
