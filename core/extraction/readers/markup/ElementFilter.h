#pragma once
#include "core/extraction/readers/ReadingLimits.h"
#include "core/extraction/readers/markup/XMLText.h"

#include <string>
#include <string_view>
#include <vector>

namespace vesto::readers {

/// Stands between the parser and a collector and keeps from it what a reader of the document does not see.
/// A vocabulary derives from it. The collector is borrowed.
class ElementFilter : public XMLHandler {
public:
    void start(std::string_view name, const XMLAttributes& attributes) final;
    void characters(std::string_view text) final;
    void end(std::string_view name) final;

protected:
    enum class Verdict { show, skip };

    explicit ElementFilter(XMLHandler& next)
        : m_next(next) {}

    /// Whether the element that opens, with all that is in it, reaches the collector.
    [[nodiscard]] virtual Verdict enter(std::string_view name, const XMLAttributes& attributes) = 0;
    /// For each element that was shown, after the collector saw its end.
    virtual void leave(std::string_view /*name*/) {}
    virtual void text(std::string_view text) { m_next.characters(text); }
    /// The name under which the collector sees an element.
    [[nodiscard]] virtual std::string_view translated(std::string_view name) const { return name; }

    /// Of the element that was opened last; the root has 1.
    [[nodiscard]] int depth() const { return m_depth; }

    /// Keeps everything from the collector until the open element at `depth` has ended.
    void hideUntilEndOf(int depth) { m_hiddenUntil = depth; }

private:
    XMLHandler& m_next;
    int m_depth = 0;
    int m_hiddenUntil = 0;  // 0: nothing is hidden
    bool m_skipped = false; // the hidden element itself was not shown either
};

/// A filter before a `Collector` of paragraphs. Text boxes become lines of their own after the paragraph
/// which they hang on; the parse ends once `maxCharacters` are there, a paragraph that is cut by it included.
class ParagraphFilter : public ElementFilter {
public:
    /// Lines without line breaks, trimmed, none empty, valid UTF-8, at most `maxCharacters` in all: the last
    /// one may be cut. With `collapsing`, white space inside them is one space.
    static std::vector<std::string> tidied(const std::vector<std::string>& lines, bool collapsing);

    /// Scalars that may still come.
    [[nodiscard]] std::size_t room() const { return m_room; }

protected:
    ParagraphFilter(XMLText::Collector& collector, std::size_t room)
        : ElementFilter(collector)
        , m_collector(collector)
        , m_room(room) {}

    [[nodiscard]] XMLText::Collector& collector() { return m_collector; }

    void text(std::string_view text) override;
    void leave(std::string_view name) override;

    /// To be called when a text box opens and when it has ended.
    void openBox();
    void closeBox();

private:
    void dropBlankLine(); // a part may hold millions of them

    struct Suspended {
        std::int64_t depth = 0;
        bool inRun = false;
        std::string current;
        std::size_t firstLine = 0; // in `out`, of the box
    };

    XMLText::Collector& m_collector;
    std::size_t m_room;                  // scalars
    std::size_t m_checkedLines = 0;      // of `out`, known not to be blank
    std::vector<Suspended> m_suspended;  // paragraphs that wait for the text boxes inside them
    std::vector<std::string> m_boxLines; // wait for the end of their paragraph
};

} // namespace vesto::readers
