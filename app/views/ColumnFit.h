#pragma once
#include <QByteArray>
#include <QObject>
#include <QTimer>
#include <functional>
#include <vector>

class QAbstractItemView;
class QHeaderView;

namespace vesto {

/// Keeps the columns of a table together as wide as the table: some have a width of their own, the others
/// share what is left. A column that the user drags takes from those. The table, which has its model,
/// owns it; `header` is the table's.
class ColumnFit final : public QObject {
    Q_OBJECT
public:
    struct Column {
        int section = 0;
        std::function<int()> width{}; // its own, asked anew with each font; none: it shares
        double share = 0;             // of what is left, weighed against the other shares
        int leastTable = 0;           // it is there from that width of the table on
        int chosen = 0;               // by the user, in place of `width`
    };

    ColumnFit(QAbstractItemView& table, QHeaderView& header, std::vector<Column> columns);

    /// As the user left it, for another time.
    [[nodiscard]] QByteArray state() const;
    /// What is no state changes nothing.
    void restore(const QByteArray& state);

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void fit();
    void follow(int section, int width);
    [[nodiscard]] bool isThere(const Column& column) const;

    QAbstractItemView& m_table;
    const QObject* m_viewport; // the table's
    QHeaderView& m_header;
    std::vector<Column> m_columns;
    bool m_isFitting = false;
    QTimer m_later;
};

} // namespace vesto
