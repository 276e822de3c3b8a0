#pragma once
#include "app/views/TableDelegate.h"

namespace vesto {

/// The rows of a batch: box, title that can be written, present name, confidence.
class BatchDelegate final : public TableDelegate {
    Q_OBJECT
public:
    enum Part { check, mark, edit, restore };

    using TableDelegate::TableDelegate;

    /// At which the column of confidences shows all that stands there.
    [[nodiscard]] static int confidenceWidth(const QFontMetrics& metrics);

    void paint(QPainter* painter, const QStyleOptionViewItem& given, const QModelIndex& index) const override;
    [[nodiscard]] std::vector<RowPart> parts(const QStyleOptionViewItem& option,
                                             const QModelIndex& index) const override;
    [[nodiscard]] QWidget* createEditor(QWidget* parent, const QStyleOptionViewItem& option,
                                        const QModelIndex& index) const override;
    void updateEditorGeometry(QWidget* editor, const QStyleOptionViewItem& option,
                              const QModelIndex& index) const override;
    void setModelData(QWidget* editor, QAbstractItemModel* model, const QModelIndex& index) const override;

Q_SIGNALS:
    /// While a title is being written.
    void drafted(const QString& title) const;
    /// By Enter: the next row's turn.
    void committed();

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void paintCell(QPainter& painter, const QStyleOptionViewItem& option, const QModelIndex& index) const;
    void paintConfidence(QPainter& painter, const QStyleOptionViewItem& option,
                         const QModelIndex& index) const;
};

} // namespace vesto
