#pragma once
#include <QHeaderView>

namespace vesto {

/// A header whose words stand where those of the cells under it do.
class TableHeader : public QHeaderView {
    Q_OBJECT
public:
    /// From the edges of a section, and of a cell.
    static constexpr int margin = 8;

    explicit TableHeader(QWidget* parent = nullptr);

protected:
    void initStyleOptionForIndex(QStyleOptionHeader* option, int section) const override;
    void paintSection(QPainter* painter, const QRect& rect, int section) const override;
};

} // namespace vesto
