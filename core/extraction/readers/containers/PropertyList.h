#pragma once
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace vesto::readers {

/// A binary property list. Nothing is read but what is asked for, so that neither loops nor depth matter;
/// each call takes time linear in the object that it looks at. The bytes are borrowed.
class PropertyList {
public:
    using Object = std::uint64_t; // its number

    /// Nothing where the bytes are none.
    [[nodiscard]] static std::optional<PropertyList> open(std::string_view bytes);

    [[nodiscard]] Object root() const { return m_root; }

    /// The value of an ASCII key of a dictionary; nothing where `dictionary` is none.
    [[nodiscard]] std::optional<Object> find(Object dictionary, std::string_view key) const;

    /// The bytes of data.
    [[nodiscard]] std::optional<std::string_view> data(Object object) const;

    /// An ASCII text.
    [[nodiscard]] std::optional<std::string_view> text(Object object) const;

private:
    /// What stands at an object: its kind, how many items it has, and all the bytes behind its head.
    struct Content {
        unsigned kind = 0;
        std::uint64_t count = 0;
        std::string_view rest = {};
    };

    explicit PropertyList(std::string_view bytes)
        : m_bytes(bytes) {}

    [[nodiscard]] std::uint64_t number(std::uint64_t at, unsigned size) const;
    [[nodiscard]] Content contentOf(Object object) const;
    [[nodiscard]] std::optional<std::string_view> bytesOf(Object object, unsigned kind) const;

    std::string_view m_bytes;
    unsigned m_offsetSize = 1;   // bytes of an offset
    unsigned m_numberSize = 1;   // bytes of an object's number
    std::uint64_t m_count = 0;   // objects
    std::uint64_t m_offsets = 0; // where their offsets lie
    Object m_root = 0;
};

} // namespace vesto::readers
