#pragma once
#include "app/model/Batch.h"

#include <QWidget>
#include <vector>

class QToolButton;
class QVBoxLayout;

namespace vesto {

/// How many files a batch left aside, and why; some can be analysed after all.
class SkippedSummary final : public QWidget {
    Q_OBJECT
public:
    explicit SkippedSummary(QWidget* parent = nullptr);

    void show(const std::vector<BatchLine>& lines);

Q_SIGNALS:
    void asked(AlsoAnalyse which);

private:
    void addLine(const BatchLine& line);

    QToolButton* m_title;
    QWidget* m_body;
    QVBoxLayout* m_bodyColumn;
    std::vector<BatchLine> m_lines;
};

} // namespace vesto
