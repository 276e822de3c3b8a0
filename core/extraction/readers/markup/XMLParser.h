#pragma once
#include <optional>
#include <string_view>

namespace vesto::readers {

/// The attributes of an element that is being started; valid during the event.
class XMLAttributes {
public:
    /// Name and value in turn, ended by a null pointer.
    explicit XMLAttributes(const char* const* pairs)
        : m_pairs(pairs) {}

    [[nodiscard]] std::optional<std::string_view> find(std::string_view name) const;

    /// Whether the attribute is there and reads `value`.
    [[nodiscard]] bool has(std::string_view name, std::string_view value) const;

private:
    const char* const* m_pairs;
};

/// Receives the events of one parse. Names stand as they are written, prefix included ("w:p"). Text is UTF-8
/// and comes in pieces.
class XMLHandler {
public:
    virtual ~XMLHandler() = default;

    virtual void start(std::string_view name, const XMLAttributes& attributes) = 0;
    virtual void characters(std::string_view text) = 0;
    virtual void end(std::string_view name) = 0;

    /// Whether it wants no more events.
    [[nodiscard]] bool isDone() const { return m_done; }

protected:
    XMLHandler() = default;
    XMLHandler(const XMLHandler&) = default;
    XMLHandler& operator=(const XMLHandler&) = default;

    void stop() { m_done = true; }

private:
    bool m_done = false;
};

/// Hands the document's events to `handler` until it is done, the document ends or is not well-formed.
/// Nothing outside `xml` is ever loaded; a document that declares entities of its own ends right there, and
/// so does one that nests 100,000 elements. Returns whether there was a root element at all.
bool parseXML(std::string_view xml, XMLHandler& handler);

} // namespace vesto::readers
