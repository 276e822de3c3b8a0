#pragma once
#include "app/model/PendingProposal.h"
#include "app/model/Settings.h"
#include "app/views/Roles.h"

#include <QAbstractListModel>
#include <QTimer>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace vesto {

class AppModel;

/// What waits for the user, newest first, with the names that the files would get: the number of a name that
/// is taken is looked up a moment after the last change.
class PendingModel final : public QAbstractListModel {
    Q_OBJECT
public:
    /// Milliseconds from the last change to the look at the folders.
    static constexpr int lookDelay = 150;

    PendingModel(AppModel& model, const Settings& settings, QObject* parent = nullptr);

    [[nodiscard]] int rowCount(const QModelIndex& parent = {}) const override;
    [[nodiscard]] QVariant data(const QModelIndex& index, int role) const override;

    /// Empty, respectively invalid, for what is not there.
    [[nodiscard]] std::string idAt(const QModelIndex& index) const;
    [[nodiscard]] QModelIndex indexOf(std::string_view proposalID) const;
    /// Whole, from the application's model; null where it is no longer pending. Until that changes.
    [[nodiscard]] const PendingProposal* proposal(const QModelIndex& index) const;

    /// Reads the threshold of the marks again, and looks at the folders again: when the list is shown.
    void refresh();

private:
    struct Row {
        PendingProposal pending;
        std::optional<std::string> finalName; // of the last look
    };

    void follow();
    void look();
    void takeNames(const std::vector<std::string>& ids, const std::vector<std::string>& names);
    [[nodiscard]] QString nameOf(const Row& row) const;
    [[nodiscard]] QString accessibleText(const Row& row) const;

    AppModel& m_model;
    const Settings& m_settings;
    double m_autoThreshold;
    std::vector<Row> m_rows;
    QTimer m_lookTimer;
};

} // namespace vesto
