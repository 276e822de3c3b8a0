#include "app/views/Names.h"

#include "app/views/Words.h"
#include "core/support/Printable.h"
#include "core/support/Unicode.h"

#include <QTextBoundaryFinder>
#include <algorithm>
#include <cstddef>
#include <string>

namespace vesto {
namespace {

constexpr qsizetype longestExtension = 12; // beyond that a dot stands in a sentence

qsizetype extensionStart(const QString& name) {
    const qsizetype dot = name.lastIndexOf(QLatin1Char('.'));
    return dot > 0 && name.size() - dot <= longestExtension + 1 ? dot : name.size();
}

/// Where the last `count` characters, as people count them, of the text before `end` begin.
qsizetype startOfLast(const QString& text, qsizetype end, int count) {
    QTextBoundaryFinder finder(QTextBoundaryFinder::Grapheme, text);
    finder.setPosition(end);
    qsizetype position = end;
    for (; count > 0 && position > 0; --count)
        position = std::max<qsizetype>(finder.toPreviousBoundary(), 0);
    return position;
}

/// Without control and format characters.
std::string cleaned(std::string_view text) {
    std::string kept;
    kept.reserve(text.size());
    for (std::size_t at = 0; at < text.size();) {
        const unicode::Scalar scalar = unicode::scalarAt(text, at);
        if (!unicode::isControl(scalar.value) && !unicode::isNewline(scalar.value))
            unicode::append(kept, scalar.value);
        at += scalar.size;
    }
    return kept;
}

} // namespace

QString shownName(std::string_view name) {
    return QString::fromStdString(cleaned(name));
}

QString isolated(const QString& shownName) {
    return shown(isolateBegin) + shownName + shown(isolateEnd);
}

QString leftToRight(const QString& shownName) {
    return QChar(0x200E) + shownName;
}

QString quoted(const QString& shownName) {
    return QChar(0x00AB) + QString(QChar(0x00A0)) + isolated(shownName) + QChar(0x00A0) + QChar(0x00BB);
}

QString shownSentence(std::string_view sentence) {
    return QString::fromStdString(withIsolatedQuotations(cleaned(sentence)));
}

QString tip(const QString& text) {
    return text.isEmpty() ? QString() : QLatin1String("<qt>") + text.toHtmlEscaped();
}

QString elideName(const QString& shownName, const QFontMetrics& metrics, int width) {
    if (metrics.horizontalAdvance(shownName) <= width)
        return shownName;
    const qsizetype dot = extensionStart(shownName);
    const qsizetype kept = startOfLast(shownName, dot, 8);
    const QString extension = shownName.sliced(dot);
    const QString base = metrics.elidedText(shownName.first(dot), Qt::ElideMiddle,
                                            width - metrics.horizontalAdvance(extension));
    const bool fits = !base.isEmpty() && metrics.horizontalAdvance(base + extension) <= width;
    if (fits && base.endsWith(shownName.sliced(kept, dot - kept)))
        return base + extension;
    const QString tail = shownName.sliced(kept);
    const int room = width - metrics.horizontalAdvance(tail);
    if (room >= metrics.horizontalAdvance(QChar(0x2026)))
        return metrics.elidedText(shownName.first(kept), Qt::ElideRight, room) + tail;
    return fits ? base + extension : metrics.elidedText(shownName, Qt::ElideMiddle, width);
}

} // namespace vesto
