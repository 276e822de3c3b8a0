#pragma once
#include "app/model/Batch.h"

#include <QWidget>
#include <map>
#include <vector>

class QPushButton;
class QToolButton;

namespace vesto {

class NoteLabel;

/// How many files a batch left aside, and why; some can be analysed after all.
class SkippedSummary final : public QWidget {
    Q_OBJECT
public:
    explicit SkippedSummary(QWidget* parent = nullptr);

    void show(const std::vector<BatchLine>& lines);

Q_SIGNALS:
    void asked(AlsoAnalyse which);

private:
    /// Made once, and hidden while its counter is zero: a button stays under who is about to press it.
    struct Row {
        QWidget* whole = nullptr;
        NoteLabel* text = nullptr;
        QPushButton* button = nullptr; // null where nothing can be done
    };
    [[nodiscard]] Row makeRow(BatchLine::Counter counter);

    QToolButton* m_title;
    QWidget* m_body;
    std::map<BatchLine::Counter, Row> m_rows;
};

} // namespace vesto
