#pragma once
#include "app/views/PaintedRows.h"

#include <QFont>
#include <optional>
#include <string>

namespace vesto {

/// Paints a proposal: its new name over its confidence, its old name and the three answers to it.
class PendingRows final : public PaintedRows {
public:
    enum Part { markPart, acceptPart, editPart, ignorePart };

    explicit PendingRows(QAbstractItemView& view)
        : PaintedRows(view) {}

    [[nodiscard]] std::vector<RowPart> parts(const QStyleOptionViewItem& option,
                                             const QModelIndex& index) const override;
    void paint(QPainter* painter, const QStyleOptionViewItem& option,
               const QModelIndex& index) const override;
    [[nodiscard]] QSize sizeHint(const QStyleOptionViewItem& option, const QModelIndex& index) const override;

    /// That row is under an editor: only its ground and its symbol are painted, `height` high.
    void setEdited(const QString& id, int height);
    [[nodiscard]] const QString& edited() const { return m_edited; }

    /// Where the name begins, from the leading edge of a row.
    static constexpr int contentStart = 38;

private:
    [[nodiscard]] int rowHeight() const;

    QString m_edited;
    int m_editedHeight = 0;
    // Every row is asked for its height: that of the font is worked out once.
    mutable std::optional<QFont> m_measuredFont;
    mutable int m_rowHeight = 0;
};

/// Paints a rename of the history: the file's name over when and from which.
class RecentRows final : public PaintedRows {
public:
    enum Part { undoPart, revealPart };

    explicit RecentRows(QAbstractItemView& view)
        : PaintedRows(view) {}

    [[nodiscard]] std::vector<RowPart> parts(const QStyleOptionViewItem& option,
                                             const QModelIndex& index) const override;
    void paint(QPainter* painter, const QStyleOptionViewItem& option,
               const QModelIndex& index) const override;
    [[nodiscard]] QSize sizeHint(const QStyleOptionViewItem& option, const QModelIndex& index) const override;
};

} // namespace vesto
