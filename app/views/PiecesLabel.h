#pragma once
#include "app/model/EvidenceSheet.h"
#include "app/views/WrappingLabel.h"

namespace vesto {

/// A line of evidence: its word heavy, what was found in the text's colour, the rest stepping back.
class PiecesLabel final : public WrappingLabel {
public:
    explicit PiecesLabel(const EvidenceLine& line, QWidget* parent = nullptr);

protected:
    [[nodiscard]] Formats formats() const override;

private:
    EvidenceLine m_line;
};

} // namespace vesto
