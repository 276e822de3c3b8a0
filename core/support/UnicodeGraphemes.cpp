#include "core/support/Unicode.h"

#include <unicode/brkiter.h>
#include <unicode/utext.h>

#include <climits>
#include <memory>

namespace vesto::unicode {
namespace {

/// Scalars that form a cluster of their own beside any other of them: no mark, no joiner, no Hangul, no emoji
/// part. CR and LF are not among them, since they join.
bool standsAlone(char32_t scalar) {
    if (scalar < 0x300)
        return scalar != U'\r' && scalar != U'\n';
    return (scalar >= 0x0391 && scalar <= 0x03FF) || (scalar >= 0x0400 && scalar <= 0x0482) ||
           (scalar >= 0x2010 && scalar <= 0x2027) || (scalar >= 0x202F && scalar <= 0x205F) ||
           (scalar >= 0x20A0 && scalar <= 0x20BF) || (scalar >= 0x4E00 && scalar <= 0x9FFF) ||
           (scalar >= 0x3041 && scalar <= 0x3096) || (scalar >= 0x30A1 && scalar <= 0x30FA);
}

/// ICU's clusters of a text, asked for only where scalars may join.
class ClusterBreaks {
public:
    ClusterBreaks() {
        UErrorCode status = U_ZERO_ERROR;
        m_iterator.reset(icu::BreakIterator::createCharacterInstance(icu::Locale::getRoot(), status));
    }
    ~ClusterBreaks() { utext_close(m_text); }
    ClusterBreaks(const ClusterBreaks&) = delete;
    ClusterBreaks& operator=(const ClusterBreaks&) = delete;

    void open(std::string_view text) {
        UErrorCode status = U_ZERO_ERROR;
        m_text = utext_openUTF8(m_text, text.data(), static_cast<std::int64_t>(text.size()), &status);
        m_iterator->setText(m_text, status);
    }
    std::size_t following(std::size_t offset) {
        const std::int32_t next = m_iterator->following(static_cast<std::int32_t>(offset));
        return next == icu::BreakIterator::DONE ? std::string_view::npos : static_cast<std::size_t>(next);
    }

private:
    std::unique_ptr<icu::BreakIterator> m_iterator;
    UText* m_text = nullptr;
};

ClusterBreaks& clusterBreaks() {
    thread_local ClusterBreaks breaks;
    return breaks;
}

/// Walks the clusters of one text from its start.
class ClusterWalk {
public:
    explicit ClusterWalk(std::string_view text)
        : m_text(text) {}

    [[nodiscard]] std::size_t offset() const { return m_offset; }
    [[nodiscard]] bool atEnd() const { return m_offset >= m_text.size(); }

    void advance() {
        const Scalar first = scalarAt(m_text, m_offset);
        const std::size_t next = m_offset + first.size;
        if (next >= m_text.size() ||
            (standsAlone(first.value) && standsAlone(scalarAt(m_text, next).value))) {
            m_offset = next;
            return;
        }
        if (m_offset >= m_runEnd)
            openRun();
        const std::size_t found = clusterBreaks().following(m_offset - m_runStart);
        m_offset = found == std::string_view::npos ? m_runEnd : m_runStart + found;
    }

private:
    /// Hands ICU the stretch up to the next place where two scalars that stand alone meet.
    void openRun() {
        m_runStart = m_offset;
        m_runEnd = m_offset;
        bool previousAlone = false;
        while (m_runEnd < m_text.size() && m_runEnd - m_runStart < maxRun) {
            const Scalar scalar = scalarAt(m_text, m_runEnd);
            const bool alone = standsAlone(scalar.value);
            if (alone && previousAlone)
                break;
            previousAlone = alone;
            m_runEnd += scalar.size;
        }
        clusterBreaks().open(m_text.substr(m_runStart, m_runEnd - m_runStart));
    }

    static constexpr std::size_t maxRun = INT_MAX / 2;

    std::string_view m_text;
    std::size_t m_offset = 0;
    std::size_t m_runStart = 0;
    std::size_t m_runEnd = 0;
};

} // namespace

std::size_t graphemeCount(std::string_view text) {
    std::size_t count = 0;
    for (ClusterWalk walk(text); !walk.atEnd(); walk.advance())
        ++count;
    return count;
}

std::string_view graphemePrefix(std::string_view text, std::size_t count) {
    if (text.size() <= count)
        return text;
    ClusterWalk walk(text);
    while (count > 0 && !walk.atEnd()) {
        walk.advance();
        --count;
    }
    return text.substr(0, walk.offset());
}

std::string_view graphemePrefixWithin(std::string_view text, std::size_t bytes) {
    if (text.size() <= bytes)
        return text;
    // Whether a cluster ends depends on what stands before and on the one scalar after: the rest need not be
    // seen.
    constexpr std::size_t maxScalar = 4; // bytes
    std::size_t end = 0;
    for (ClusterWalk walk(text.substr(0, bytes + maxScalar)); !walk.atEnd(); end = walk.offset()) {
        walk.advance();
        if (walk.offset() > bytes)
            break;
    }
    return text.substr(0, end);
}

std::size_t firstGraphemeSize(std::string_view text) {
    return graphemePrefix(text, 1).size();
}

std::size_t lastGraphemeSize(std::string_view text) {
    if (text.empty())
        return 0;
    // Back to a place where two scalars that stand alone meet, then forward again.
    std::size_t start = text.size();
    bool followedByAlone = false;
    while (start > 0) {
        const Scalar scalar = scalarBefore(text, start);
        const bool alone = standsAlone(scalar.value);
        if (alone && followedByAlone)
            break;
        followedByAlone = alone;
        start -= scalar.size;
    }
    std::size_t last = start;
    ClusterWalk walk(text.substr(start));
    while (!walk.atEnd()) {
        last = start + walk.offset();
        walk.advance();
    }
    return text.size() - last;
}

} // namespace vesto::unicode
