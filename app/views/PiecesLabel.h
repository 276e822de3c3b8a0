#pragma once
#include "app/model/EvidenceSheet.h"

#include <QLabel>
#include <QTextLayout>

namespace vesto {

/// A line of evidence: its word heavy, what was found in the text's colour, the rest stepping back. Wraps.
/// A label, so that screen readers find its text.
class PiecesLabel final : public QLabel {
public:
    explicit PiecesLabel(const EvidenceLine& line, QWidget* parent = nullptr);

    [[nodiscard]] int heightForWidth(int width) const override;
    [[nodiscard]] QSize sizeHint() const override;
    [[nodiscard]] QSize minimumSizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    [[nodiscard]] QList<QTextLayout::FormatRange> formats() const;
    /// Lays the text out in this width; gives its height.
    qreal layOut(QTextLayout& layout, int width) const;

    EvidenceLine m_line;
};

} // namespace vesto
