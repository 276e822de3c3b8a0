#pragma once
#include "app/model/Batch.h"
#include "app/views/Roles.h"

#include <QAbstractTableModel>
#include <QModelIndexList>
#include <cstddef>
#include <string>
#include <variant>
#include <vector>

namespace vesto {

class AppModel;
class Settings;

/// The files of the batch that is analysed or reviewed, in the order of arrival until somebody sorts them:
/// what arrives later joins at the end.
class BatchModel final : public QAbstractTableModel {
    Q_OBJECT
public:
    enum Column { checkColumn, titleColumn, currentColumn, confidenceColumn };
    static constexpr int columns = 4;

    /// Of the whole: what the box above the column shows.
    enum class Ticked { none, some, all };

    BatchModel(AppModel& model, const Settings& settings, QObject* parent = nullptr);

    [[nodiscard]] int rowCount(const QModelIndex& parent = {}) const override;
    [[nodiscard]] int columnCount(const QModelIndex& parent = {}) const override;
    [[nodiscard]] Qt::ItemFlags flags(const QModelIndex& index) const override;
    [[nodiscard]] QVariant data(const QModelIndex& index, int role) const override;
    bool setData(const QModelIndex& index, const QVariant& value, int role) override;
    [[nodiscard]] QVariant headerData(int section, Qt::Orientation orientation, int role) const override;
    /// A column of -1 brings back the order of arrival.
    void sort(int column, Qt::SortOrder order) override;

    /// Null where the index or the batch is none. Until the model changes.
    [[nodiscard]] const Batch::Item* item(const QModelIndex& index) const;

    /// Ticks those rows that are still proposed; unticks them where all of them are ticked.
    void toggle(const QModelIndexList& rows);
    void tickAll(bool isTicked);
    [[nodiscard]] Ticked ticked() const;

Q_SIGNALS:
    void tickedChanged();

private:
    /// As the views know a row, to tell what changed.
    struct Row {
        std::string id;
        std::string title;
        bool isSelected = false;
        decltype(Batch::Item::state) state;
        bool operator==(const Row&) const = default;
    };

    void follow();
    void refreshThreshold();
    [[nodiscard]] std::size_t itemOf(int row) const { return m_order[static_cast<std::size_t>(row)]; }
    [[nodiscard]] QVariant text(const Batch::Item& item, int column) const;
    [[nodiscard]] QString accessibleText(const Batch::Item& item) const;

    AppModel& m_model;
    const Settings& m_settings;
    double m_threshold;
    std::string m_batchID;
    std::vector<Row> m_rows;          // in the order of arrival
    std::vector<std::size_t> m_order; // of the view: places in `m_rows`
};

} // namespace vesto
