#pragma once
#include <cstddef>
#include <cstdint>

namespace vesto::model {

/// A file of a speech model as the engine reads it: piece by piece, once. The engine believes every number
/// in it and asks of no piece whether it was there; what lies too boldly is refused here.
class SpeechFile {
public:
    /// The descriptor stays the caller's.
    explicit SpeechFile(int file)
        : m_file(file) {}

    /// Whether it begins as a model does, with sizes that a model can have.
    [[nodiscard]] bool isPlausible() const;

    /// Throws where the file is at its end too early; the engine takes that for a model that it cannot load.
    std::size_t read(void* target, std::size_t size);

    /// The engine has asked for more than there is, as it does once behind the last piece.
    [[nodiscard]] bool isAtEnd() const { return m_missing > 0; }

private:
    int m_file;
    std::uint64_t m_offset = 0;
    std::size_t m_missing = 0; // bytes behind the end that were asked for
};

} // namespace vesto::model
