#include "core/extraction/readers/markup/ElementFilter.h"

#include "core/support/Unicode.h"

#include <algorithm>
#include <iterator>
#include <utility>

namespace vesto::readers {

void ElementFilter::start(std::string_view name, const XMLAttributes& attributes) {
    ++m_depth;
    if (m_hiddenUntil != 0)
        return;
    const Verdict verdict = enter(name, attributes);
    if (verdict == Verdict::skip) {
        m_hiddenUntil = m_depth;
        m_skipped = true;
    } else if (m_hiddenUntil == 0) {
        m_next.start(translated(name), attributes);
    }
    if (m_next.isDone())
        stop();
}

void ElementFilter::characters(std::string_view characters) {
    if (m_hiddenUntil != 0)
        return;
    text(characters);
    if (m_next.isDone())
        stop();
}

void ElementFilter::end(std::string_view name) {
    const int ended = m_depth--;
    if (m_hiddenUntil != 0 && ended > m_hiddenUntil)
        return;
    const bool wasShown = !(m_hiddenUntil == ended && m_skipped);
    if (m_hiddenUntil == ended) {
        m_hiddenUntil = 0;
        m_skipped = false;
    }
    if (wasShown) {
        m_next.end(translated(name));
        leave(name);
    }
    if (m_next.isDone())
        stop();
}

void ParagraphFilter::text(std::string_view text) {
    const std::size_t before = m_collector.current.size();
    m_collector.characters(text);
    const std::string_view added = std::string_view(m_collector.current).substr(before);
    const auto scalars = static_cast<std::size_t>(
        std::count_if(added.begin(), added.end(), [](char byte) { return (byte & '\xC0') != '\x80'; }));
    if (scalars < m_room) {
        m_room -= scalars;
        return;
    }
    // Enough: the paragraphs that are still open end here.
    m_collector.out.push_back(m_collector.current);
    for (auto waiting = m_suspended.rbegin(); waiting != m_suspended.rend(); ++waiting)
        m_collector.out.push_back(std::move(waiting->current));
    std::move(m_boxLines.begin(), m_boxLines.end(), std::back_inserter(m_collector.out));
    stop();
}

void ParagraphFilter::leave(std::string_view name) {
    if (translated(name) == m_collector.paragraph)
        dropBlankLine();
    if (m_boxLines.empty() || m_collector.depth != 0 || !m_suspended.empty())
        return;
    std::move(m_boxLines.begin(), m_boxLines.end(), std::back_inserter(m_collector.out));
    m_boxLines.clear();
}

void ParagraphFilter::dropBlankLine() {
    std::vector<std::string>& lines = m_collector.out;
    if (lines.size() > m_checkedLines && unicode::trimmedWhiteSpace(lines.back()).empty())
        lines.pop_back();
    m_checkedLines = lines.size();
}

void ParagraphFilter::openBox() {
    m_suspended.push_back({.depth = std::exchange(m_collector.depth, 0),
                           .inRun = std::exchange(m_collector.inRun, false),
                           .current = std::exchange(m_collector.current, {}),
                           .firstLine = m_collector.out.size()});
}

void ParagraphFilter::closeBox() {
    Suspended& waiting = m_suspended.back();
    const auto first = m_collector.out.begin() + static_cast<std::ptrdiff_t>(waiting.firstLine);
    std::move(first, m_collector.out.end(), std::back_inserter(m_boxLines));
    m_collector.out.erase(first, m_collector.out.end());
    m_collector.depth = waiting.depth;
    m_collector.inRun = waiting.inRun;
    m_collector.current = std::move(waiting.current);
    m_suspended.pop_back();
    m_checkedLines = m_collector.out.size();
}

std::vector<std::string> ParagraphFilter::tidied(const std::vector<std::string>& lines, bool collapsing) {
    std::vector<std::string> result;
    std::size_t room = maxCharacters;
    for (const std::string& raw : lines) {
        std::string line;
        bool afterSpace = false;
        for (std::size_t offset = 0; offset < raw.size() && room > 0;) {
            const unicode::Scalar scalar = unicode::scalarAt(raw, offset);
            offset += scalar.size;
            const bool plain =
                scalar.value == ' ' || scalar.value == '\t' || unicode::isNewline(scalar.value);
            if (plain && (line.empty() || (collapsing && afterSpace)))
                continue;
            unicode::append(line, plain ? U' ' : scalar.value);
            afterSpace = plain;
            --room;
        }
        const std::string_view trimmed = unicode::trimmedWhiteSpace(line);
        if (!trimmed.empty())
            result.emplace_back(trimmed);
        if (room == 0)
            break;
    }
    return result;
}

} // namespace vesto::readers
