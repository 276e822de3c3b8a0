#include "app/views/PiecesLabel.h"

#include "app/views/Tones.h"
#include "app/views/Words.h"

namespace vesto {

PiecesLabel::PiecesLabel(const EvidenceLine& line, QWidget* parent)
    : WrappingLabel(parent)
    , m_line(line) {
    setText(shown(line.text()));
    QSizePolicy policy(QSizePolicy::Ignored, QSizePolicy::Preferred);
    policy.setHeightForWidth(true);
    setSizePolicy(policy);
}

WrappingLabel::Formats PiecesLabel::formats() const {
    const Tones tones(palette());
    Formats ranges;
    int start = 0;
    for (const EvidenceLine::Piece& piece : m_line.pieces) {
        QTextLayout::FormatRange range;
        range.start = start;
        range.length = static_cast<int>(shown(piece.text).size());
        start += range.length;
        const bool isSecondary = piece.tone == EvidenceLine::Tone::secondary;
        range.format.setForeground(isSecondary ? tones.secondaryOnWindow()
                                               : palette().color(QPalette::WindowText));
        if (piece.tone == EvidenceLine::Tone::strong)
            range.format.setFontWeight(QFont::DemiBold);
        ranges.push_back(range);
    }
    return ranges;
}

} // namespace vesto
