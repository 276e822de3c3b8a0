#pragma once
#include "app/model/RenameRecord.h"
#include "app/model/Store.h"
#include "app/views/Icons.h"
#include "app/views/Roles.h"

#include <QAbstractTableModel>
#include <QTimer>
#include <cstddef>
#include <deque>
#include <limits>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace vesto {

class AppModel;

/// "Renommé", "Annulé · Automatique", why it failed…
[[nodiscard]] QString statusText(const RenameRecord& record);
[[nodiscard]] Symbol statusSymbol(const RenameRecord& record);
/// The name that the file has, as far as the history knows.
[[nodiscard]] const std::string& currentNameOf(const RenameRecord& record);

/// The history, newest first. Rows are fetched as they are seen, so a million of them cost no more than what
/// was looked at; what takes long is done in parts, between which the event loop has its turn. What is
/// renamed meanwhile joins in its place; rows that are there keep their indexes.
class RecordModel final : public QAbstractTableModel {
    Q_OBJECT
public:
    enum Column { dateColumn, newNameColumn, oldNameColumn, confidenceColumn, statusColumn };
    static constexpr int columns = 5;
    static constexpr std::size_t page = 200; // rows of one fetch

    /// `mostRows`: never more than that.
    explicit RecordModel(AppModel& model, QObject* parent = nullptr,
                         std::size_t mostRows = std::numeric_limits<std::size_t>::max());

    [[nodiscard]] int rowCount(const QModelIndex& parent = {}) const override;
    [[nodiscard]] int columnCount(const QModelIndex& parent = {}) const override;
    [[nodiscard]] QVariant data(const QModelIndex& index, int role) const override;
    [[nodiscard]] QVariant headerData(int section, Qt::Orientation orientation, int role) const override;
    [[nodiscard]] bool canFetchMore(const QModelIndex& parent) const override;
    void fetchMore(const QModelIndex& parent) override;

    /// Only rows whose old or new name contains it; empty: all. The former rows stay until the first is
    /// found, or none.
    void setSearch(const QString& search);
    [[nodiscard]] const QString& search() const { return m_search; }

    /// Whether somebody wants to know `total`; at first somebody does.
    void setCounted(bool isCounted);
    /// How many rows there are in all; nothing while that is being counted, or could not be.
    [[nodiscard]] std::optional<std::size_t> total() const;

    /// Why the history could not be read; empty where it could.
    [[nodiscard]] const QString& error() const { return m_error; }

    /// Null for an invalid index. Until the model changes.
    [[nodiscard]] const RenameRecord* record(const QModelIndex& index) const;

    /// Says times anew: "10:42" becomes "Hier 10:42".
    void refreshDates();

Q_SIGNALS:
    void totalChanged();

private:
    [[nodiscard]] std::optional<Store::Part> read(std::size_t limit,
                                                  const std::optional<Store::Place>& after);
    void reload();
    /// Reads the next part of the rows that are wanted.
    void readOn();
    void readOnWhereWanted();
    void replaceRows(std::vector<RenameRecord> records);
    /// What changed among the newest rows, and in rows that are not settled.
    void follow();
    void merge(const Store::Part& newest);
    void update(const RenameRecord& record);
    void insert(std::size_t row, std::span<const RenameRecord> records);
    void remove(std::size_t row, std::size_t count);
    void countAgain();
    void countOn();
    [[nodiscard]] QVariant textOf(const RenameRecord& record, int column) const;
    [[nodiscard]] QString accessibleText(const RenameRecord& record) const;

    AppModel& m_model;
    std::size_t m_mostRows;
    QString m_search;
    QString m_error;
    std::deque<RenameRecord> m_rows;      // which moves none of them when it grows
    std::size_t m_wanted = 0;             // rows in all, as far as there are
    std::optional<Store::Place> m_readTo; // nothing: not begun
    bool m_isComplete = false;            // no row behind that
    bool m_isOutdated = false;            // until the first rows of a new search
    bool m_isStuck = false;               // what is behind could not be read; until the next change
    bool m_isCounted = true;
    bool m_isFetching = false;
    Store::Tally m_tally;
    QTimer m_readTimer;
    QTimer m_followTimer;
    QTimer m_countTimer;
};

} // namespace vesto
