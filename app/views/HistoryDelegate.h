#pragma once
#include "app/views/TableDelegate.h"

namespace vesto {

/// The rows of the history, with undo and reveal at the end of the row that is looked at.
class HistoryDelegate final : public TableDelegate {
    Q_OBJECT
public:
    enum Part { undo, reveal };

    using TableDelegate::TableDelegate;

    /// At which the last column shows all that stands there.
    [[nodiscard]] static int stateWidth(const QFontMetrics& metrics);

    void paint(QPainter* painter, const QStyleOptionViewItem& given, const QModelIndex& index) const override;
    [[nodiscard]] std::vector<RowPart> parts(const QStyleOptionViewItem& option,
                                             const QModelIndex& index) const override;

private:
    void paintText(QPainter& painter, const QStyleOptionViewItem& option, const QModelIndex& index,
                   const QRect& place) const;
};

} // namespace vesto
