#pragma once
#include <QLabel>
#include <QString>
#include <QTextLayout>

namespace vesto {

/// A plain text that wraps between words, and inside a word where that is longer than a line, as a path or a
/// file's name may be: no text ever makes it, or its window, wider. A label, so that screen readers find it.
class WrappingLabel : public QLabel {
public:
    explicit WrappingLabel(QWidget* parent = nullptr);

    [[nodiscard]] int heightForWidth(int width) const override;
    [[nodiscard]] QSize sizeHint() const override;
    [[nodiscard]] QSize minimumSizeHint() const override;

protected:
    using Formats = QList<QTextLayout::FormatRange>;
    /// How parts of it look, where they differ.
    [[nodiscard]] virtual Formats formats() const { return {}; }

    void paintEvent(QPaintEvent* event) override;

private:
    [[nodiscard]] bool isSimple(int width) const;
    qreal layOut(QTextLayout& layout, int width) const;
};

/// The same for a text that can be selected, which must be broken beforehand: line breaks stand where a word
/// is longer than `width`. Beyond `mostLines` (0: as many as there are) the last one is cut in its middle, so
/// that the end of a path stays.
[[nodiscard]] QString wrapped(const QString& text, const QFont& font, int width, int mostLines = 0);

} // namespace vesto
