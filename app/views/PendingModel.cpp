#include "app/views/PendingModel.h"

#include "app/model/AppModel.h"
#include "app/views/ConfidenceMark.h"
#include "app/views/Icons.h"
#include "app/views/Names.h"
#include "app/views/Words.h"
#include "core/files/FileName.h"

#include <QPointer>
#include <algorithm>
#include <cstddef>
#include <iterator>
#include <unordered_map>
#include <unordered_set>
#include <utility>

namespace vesto {
namespace {

std::string plainName(const Proposal& proposal) {
    return proposal.policy.fileName(proposal.baseName, extensionOf(lastComponentOf(proposal.url)));
}

} // namespace

PendingModel::PendingModel(AppModel& model, const Settings& settings, QObject* parent)
    : QAbstractListModel(parent)
    , m_model(model)
    , m_settings(settings)
    , m_autoThreshold(settings.autoThreshold()) {
    m_lookTimer.setSingleShot(true);
    m_lookTimer.setInterval(lookDelay);
    connect(&m_lookTimer, &QTimer::timeout, this, &PendingModel::look);
    connect(&model, &AppModel::pendingChanged, this, &PendingModel::follow);
    follow();
}

int PendingModel::rowCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : static_cast<int>(m_rows.size());
}

void PendingModel::follow() {
    // Rows in one piece come and go at once: there may be thousands.
    const auto& now = m_model.pending();
    std::unordered_set<std::string_view> ids;
    for (const PendingProposal& pending : now)
        ids.insert(pending.id());
    const auto isGone = [&](const Row& row) { return !ids.contains(row.pending.id()); };
    for (auto end = m_rows.end(); end != m_rows.begin();) {
        const auto last = std::find_if(std::reverse_iterator(end), m_rows.rend(), isGone).base();
        const auto first = std::find_if_not(std::reverse_iterator(last), m_rows.rend(), isGone).base();
        if (first == last)
            break;
        beginRemoveRows({}, static_cast<int>(first - m_rows.begin()),
                        static_cast<int>(last - m_rows.begin()) - 1);
        end = m_rows.erase(first, last);
        endRemoveRows();
    }
    // What stays keeps its order; what is new stands between.
    for (std::size_t row = 0; row < now.size(); ++row) {
        std::size_t end = row;
        while (end < now.size() && (row >= m_rows.size() || now[end].id() != m_rows[row].pending.id()))
            ++end;
        if (end == row)
            continue;
        const auto place = static_cast<int>(row);
        std::vector<Row> added;
        for (std::size_t each = row; each < end; ++each)
            added.push_back(Row{now[each], std::nullopt});
        beginInsertRows({}, place, static_cast<int>(end) - 1);
        m_rows.insert(m_rows.begin() + place, std::move_iterator(added.begin()),
                      std::move_iterator(added.end()));
        endInsertRows();
        row = end;
    }
    if (m_rows.empty())
        m_lookTimer.stop();
    else
        m_lookTimer.start();
}

void PendingModel::refresh() {
    m_autoThreshold = m_settings.autoThreshold();
    if (m_rows.empty())
        return;
    Q_EMIT dataChanged(index(0), index(rowCount() - 1));
    m_lookTimer.start();
}

void PendingModel::look() {
    std::vector<std::string> ids;
    std::vector<AppModel::WantedName> wanted;
    for (const Row& row : m_rows) {
        const Proposal& proposal = row.pending.proposal;
        ids.push_back(proposal.id);
        wanted.push_back({proposal.url, proposal.baseName, proposal.policy});
    }
    m_model.lookUpNames(std::move(wanted),
                        [model = QPointer<PendingModel>(this), ids](const std::vector<std::string>& names) {
                            if (model)
                                model->takeNames(ids, names);
                        });
}

void PendingModel::takeNames(const std::vector<std::string>& ids, const std::vector<std::string>& names) {
    std::unordered_map<std::string_view, const std::string*> found;
    for (std::size_t at = 0; at < ids.size(); ++at)
        found.emplace(ids[at], &names[at]);
    for (std::size_t at = 0; at < m_rows.size(); ++at) {
        Row& row = m_rows[at];
        const auto name = found.find(row.pending.id());
        if (name == found.end() || row.finalName == *name->second)
            continue;
        row.finalName = *name->second;
        const QModelIndex place = index(static_cast<int>(at));
        Q_EMIT dataChanged(place, place);
    }
}

std::string PendingModel::idAt(const QModelIndex& index) const {
    return index.isValid() && checkIndex(index)
               ? m_rows[static_cast<std::size_t>(index.row())].pending.proposal.id
               : std::string();
}

QModelIndex PendingModel::indexOf(std::string_view proposalID) const {
    const auto place = std::ranges::find(
        m_rows, proposalID, [](const Row& row) -> std::string_view { return row.pending.proposal.id; });
    return place == m_rows.end() ? QModelIndex() : index(static_cast<int>(place - m_rows.begin()));
}

const PendingProposal* PendingModel::proposal(const QModelIndex& index) const {
    const auto& all = m_model.pending();
    const auto place = std::ranges::find(all, idAt(index), &PendingProposal::id);
    return place == all.end() ? nullptr : &*place;
}

QString PendingModel::nameOf(const Row& row) const {
    return shownName(row.finalName.value_or(plainName(row.pending.proposal)));
}

QString PendingModel::accessibleText(const Row& row) const {
    const Proposal& proposal = row.pending.proposal;
    return french("%1, au lieu de %2, %3", nameOf(row), shownName(lastComponentOf(proposal.url)),
                  ConfidenceMark(proposal.confidence, m_autoThreshold).accessibleText());
}

QVariant PendingModel::data(const QModelIndex& index, int role) const {
    if (!index.isValid() || !checkIndex(index))
        return {};
    const Row& row = m_rows[static_cast<std::size_t>(index.row())];
    const Proposal& proposal = row.pending.proposal;
    switch (role) {
    case NameRole:
    case NewNameRole:
        return nameOf(row);
    case TitleRole:
        return shown(proposal.title);
    case Qt::ToolTipRole:
        return leftToRight(nameOf(row));
    case Qt::AccessibleTextRole:
        return accessibleText(row);
    case Qt::AccessibleDescriptionRole:
        return french("Entrée accepte, F2 modifie, Suppr ignore");
    case IdRole:
        return QString::fromStdString(proposal.id);
    case OldNameRole:
    case CurrentNameRole:
        return shownName(lastComponentOf(proposal.url));
    case ConfidenceRole:
        return proposal.confidence;
    case StepRole:
        return static_cast<int>(ConfidenceMark(proposal.confidence, m_autoThreshold).step());
    case KindRole:
        return static_cast<int>(proposal.summary.kind);
    case SymbolRole:
        return static_cast<int>(Icons::ofKind(proposal.summary.kind));
    case SourceRole:
        return static_cast<int>(proposal.source);
    case FolderPathRole:
        return shownName(folderOf(proposal.url).native());
    case FilePathRole:
        return QByteArray::fromStdString(proposal.url.native());
    case IsFreshRole:
        return row.finalName.has_value();
    default:
        return {};
    }
}

} // namespace vesto
