#pragma once
#include "app/model/EvidenceSheet.h"

#include <QRect>
#include <QString>
#include <QWidget>

class QLabel;
class QVBoxLayout;

namespace vesto {

/// Why a title has its confidence: mark, a sentence or two, and a line for each word. Bound half of the
/// preview of a batch, and the popup under a mark.
class EvidenceView final : public QWidget {
public:
    explicit EvidenceView(QWidget* parent = nullptr);

    /// The threshold decides the step that is shown.
    void setSheet(const EvidenceSheet& sheet, double autoThreshold);

    /// Shows a sheet in a popup under `mark`, a rectangle in `over`'s coordinates; it goes away by itself.
    static void popUp(QWidget& over, const QRect& mark, const EvidenceSheet& sheet, double autoThreshold);

protected:
    void changeEvent(QEvent* event) override;

private:
    void build();

    EvidenceSheet m_sheet;
    double m_threshold = 0;
    QVBoxLayout* m_layout;
    QWidget* m_content = nullptr; // made anew for each sheet
};

} // namespace vesto
