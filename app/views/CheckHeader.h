#pragma once
#include "app/views/BatchModel.h"
#include "app/views/TableHeader.h"

namespace vesto {

/// A header whose first section is a box that ticks all rows.
class CheckHeader final : public TableHeader {
    Q_OBJECT
public:
    explicit CheckHeader(QWidget* parent = nullptr);

    void setTicked(BatchModel::Ticked ticked);

Q_SIGNALS:
    void tickedAll(bool isTicked);

protected:
    void paintSection(QPainter* painter, const QRect& rect, int section) const override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;

private:
    [[nodiscard]] bool isBox(const QMouseEvent& event) const;

    BatchModel::Ticked m_ticked = BatchModel::Ticked::none;
};

} // namespace vesto
