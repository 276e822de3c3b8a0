#include "app/views/BatchModel.h"

#include "app/model/AppModel.h"
#include "app/views/ConfidenceMark.h"
#include "app/views/Formats.h"
#include "app/views/Icons.h"
#include "app/views/Names.h"
#include "app/views/Words.h"
#include "core/files/FileName.h"

#include <QCollator>
#include <algorithm>
#include <numeric>
#include <utility>

namespace vesto {
namespace {

bool isEdited(const Batch::Item& item) {
    return item.title != item.proposal.title;
}

QString stateText(const Batch::Item& item) {
    if (std::holds_alternative<Batch::Renamed>(item.state))
        return french("renommé");
    if (const auto* failed = std::get_if<Batch::Failed>(&item.state))
        return shownSentence(failed->message);
    return item.selected ? french("coché") : french("non coché");
}

} // namespace

BatchModel::BatchModel(AppModel& model, const Settings& settings, QObject* parent)
    : QAbstractTableModel(parent)
    , m_model(model)
    , m_settings(settings)
    , m_threshold(settings.autoThreshold()) {
    connect(&model, &AppModel::batchChanged, this, &BatchModel::follow);
    connect(&model, &AppModel::settingsChanged, this, &BatchModel::refreshThreshold);
    follow();
}

void BatchModel::follow() {
    const Batch* batch = m_model.batch();
    const std::string id = batch == nullptr ? std::string() : batch->id;
    if (id != m_batchID) {
        beginResetModel();
        m_batchID = id;
        m_threshold = m_settings.autoThreshold();
        m_rows.clear();
        m_order.clear();
        endResetModel();
    }
    if (batch == nullptr)
        return;
    const auto now = [](const Batch::Item& item) {
        return Row{item.proposal.id, item.title, item.selected, item.state};
    };
    bool isTickedOther = false;
    for (std::size_t row = 0; row < m_order.size(); ++row) {
        const std::size_t place = m_order[row];
        const Batch::Item& item = batch->items[place];
        Row& known = m_rows[place];
        if (known.isSelected == item.selected && known.title == item.title && known.state == item.state)
            continue;
        known = now(item);
        isTickedOther = true;
        Q_EMIT dataChanged(index(static_cast<int>(row), 0), index(static_cast<int>(row), columns - 1));
    }
    if (batch->items.size() > m_rows.size()) {
        const int first = rowCount();
        beginInsertRows({}, first, static_cast<int>(batch->items.size()) - 1);
        for (std::size_t place = m_rows.size(); place < batch->items.size(); ++place) {
            m_rows.push_back(now(batch->items[place]));
            m_order.push_back(place);
        }
        endInsertRows();
        isTickedOther = true;
    }
    if (isTickedOther)
        Q_EMIT tickedChanged();
}

void BatchModel::refreshThreshold() {
    m_threshold = m_settings.autoThreshold();
    if (!m_rows.empty())
        Q_EMIT dataChanged(index(0, confidenceColumn), index(rowCount() - 1, confidenceColumn));
}

int BatchModel::rowCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : static_cast<int>(m_order.size());
}

int BatchModel::columnCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : columns;
}

const Batch::Item* BatchModel::item(const QModelIndex& index) const {
    const Batch* batch = m_model.batch();
    const bool isThere = batch != nullptr && batch->id == m_batchID && index.isValid() &&
                         index.row() < rowCount() && itemOf(index.row()) < batch->items.size();
    return isThere ? &batch->items[itemOf(index.row())] : nullptr;
}

Qt::ItemFlags BatchModel::flags(const QModelIndex& index) const {
    const Batch::Item* found = item(index);
    if (found == nullptr)
        return Qt::NoItemFlags;
    Qt::ItemFlags flags = Qt::ItemIsEnabled | Qt::ItemIsSelectable | Qt::ItemNeverHasChildren;
    if (found->isProposed() && index.column() == checkColumn)
        flags |= Qt::ItemIsUserCheckable;
    if (found->isProposed() && index.column() == titleColumn)
        flags |= Qt::ItemIsEditable;
    return flags;
}

// ---- Answers ----

QVariant BatchModel::text(const Batch::Item& item, int column) const {
    const auto* renamed = std::get_if<Batch::Renamed>(&item.state);
    const auto* failed = std::get_if<Batch::Failed>(&item.state);
    switch (column) {
    case titleColumn:
        return renamed != nullptr ? shownName(renamed->newName) : shownName(item.title);
    case currentColumn:
        return failed != nullptr ? shownSentence(failed->message)
                                 : shownName(lastComponentOf(item.proposal.url));
    case confidenceColumn:
        return isEdited(item) ? french("Modifié") : percentage(item.proposal.confidence);
    default:
        return {};
    }
}

QString BatchModel::accessibleText(const Batch::Item& item) const {
    const QString confidence = isEdited(item)
                                   ? frenchLocale().toLower(french("Modifié"))
                                   : ConfidenceMark(item.proposal.confidence, m_threshold).accessibleText();
    return french("%1, au lieu de %2, %3, %4", text(item, titleColumn).toString(),
                  shownName(lastComponentOf(item.proposal.url)), confidence, stateText(item));
}

QVariant BatchModel::data(const QModelIndex& index, int role) const {
    const Batch::Item* found = item(index);
    if (found == nullptr)
        return {};
    const auto* renamed = std::get_if<Batch::Renamed>(&found->state);
    const auto* failed = std::get_if<Batch::Failed>(&found->state);
    switch (role) {
    case Qt::DisplayRole:
        return text(*found, index.column());
    case TitleRole:
        return index.column() == titleColumn ? QVariant(shown(found->title)) : QVariant();
    case Qt::CheckStateRole:
        return index.column() == checkColumn && found->isProposed()
                   ? QVariant(found->selected ? Qt::Checked : Qt::Unchecked)
                   : QVariant();
    case Qt::ToolTipRole:
        return index.column() == confidenceColumn && !isEdited(*found)
                   ? QVariant(ConfidenceMark::tip())
                   : QVariant(text(*found, index.column()));
    case Qt::AccessibleTextRole:
        if (index.column() == checkColumn)
            return french("Renommer %1", shownName(lastComponentOf(found->proposal.url)));
        return index.column() == titleColumn ? accessibleText(*found)
                                             : text(*found, index.column()).toString();
    case Qt::AccessibleDescriptionRole:
        return french("Espace coche, F2 modifie le titre");
    case IdRole:
        return QString::fromStdString(found->proposal.id);
    case OldNameRole:
    case CurrentNameRole:
        return renamed != nullptr ? shownName(renamed->newName)
                                  : shownName(lastComponentOf(found->proposal.url));
    case ConfidenceRole:
        return isEdited(*found) ? QVariant() : QVariant(found->proposal.confidence);
    case StepRole:
        return isEdited(*found) ? QVariant()
                                : QVariant(static_cast<int>(
                                      ConfidenceMark(found->proposal.confidence, m_threshold).step()));
    case KindRole:
        return static_cast<int>(found->proposal.summary.kind);
    case SymbolRole: // of what became of it
        return renamed != nullptr  ? QVariant(static_cast<int>(Symbol::done))
               : failed != nullptr ? QVariant(static_cast<int>(Symbol::error))
                                   : QVariant();
    case SourceRole:
        return static_cast<int>(found->proposal.source);
    case ErrorRole:
        return failed != nullptr ? shownSentence(failed->message) : QString();
    default:
        return {};
    }
}

bool BatchModel::setData(const QModelIndex& index, const QVariant& value, int role) {
    const Batch::Item* found = item(index);
    if (found == nullptr || !found->isProposed())
        return false;
    const std::string id = found->proposal.id;
    if (role == Qt::EditRole && index.column() == titleColumn) {
        const QString title = value.toString().trimmed();
        if (!title.isEmpty()) // else the title stays as it was
            m_model.setItemTitle(id, utf8(title));
        return true;
    }
    if (role == Qt::CheckStateRole && index.column() == checkColumn) {
        m_model.setItemsSelected({id}, value.toInt() == static_cast<int>(Qt::Checked));
        return true;
    }
    return false;
}

QVariant BatchModel::headerData(int section, Qt::Orientation orientation, int role) const {
    if (orientation != Qt::Horizontal || (role != Qt::DisplayRole && role != Qt::AccessibleTextRole))
        return {};
    switch (section) {
    case checkColumn:
        return role == Qt::AccessibleTextRole ? french("Tout cocher") : QString();
    case titleColumn:
        return french("Titre");
    case currentColumn:
        return french("Nom actuel");
    case confidenceColumn:
        return french("Confiance");
    default:
        return {};
    }
}

// ---- Ticks and order ----

void BatchModel::toggle(const QModelIndexList& rows) {
    std::vector<std::string> ids;
    bool areAllTicked = true;
    for (const QModelIndex& index : rows)
        if (const Batch::Item* found = item(index); found != nullptr && found->isProposed()) {
            ids.push_back(found->proposal.id);
            areAllTicked = areAllTicked && found->selected;
        }
    if (!ids.empty())
        m_model.setItemsSelected(ids, !areAllTicked);
}

void BatchModel::tickAll(bool isTicked) {
    std::vector<std::string> ids;
    ids.reserve(m_rows.size());
    for (const Row& row : m_rows)
        ids.push_back(row.id);
    if (!ids.empty())
        m_model.setItemsSelected(ids, isTicked);
}

BatchModel::Ticked BatchModel::ticked() const {
    std::size_t open = 0;
    std::size_t chosen = 0;
    for (const Row& row : m_rows)
        if (std::holds_alternative<Batch::Proposed>(row.state)) {
            ++open;
            chosen += row.isSelected ? 1 : 0;
        }
    if (chosen == 0)
        return Ticked::none;
    return chosen == open ? Ticked::all : Ticked::some;
}

void BatchModel::sort(int column, Qt::SortOrder order) {
    const Batch* batch = m_model.batch();
    if (batch == nullptr || batch->id != m_batchID || batch->items.size() < m_rows.size())
        return;
    Q_EMIT layoutAboutToBeChanged({}, VerticalSortHint);
    const std::vector<std::size_t> before = m_order;
    std::iota(m_order.begin(), m_order.end(), std::size_t{0});
    QCollator collator(frenchLocale());
    collator.setNumericMode(true);
    collator.setCaseSensitivity(Qt::CaseInsensitive);
    std::vector<QCollatorSortKey> keys;
    if (column == titleColumn || column == currentColumn)
        for (const Batch::Item& each : batch->items)
            keys.push_back(collator.sortKey(text(each, column).toString()));
    const auto rank = [&](std::size_t place) {
        const Batch::Item& each = batch->items[place];
        if (column == checkColumn)
            return each.isProposed() ? (each.selected ? 0.0 : 1.0) : 2.0;
        return isEdited(each) ? 2.0 : each.proposal.confidence; // the user's own word is the surest
    };
    const auto isBefore = [&](std::size_t left, std::size_t right) {
        return keys.empty() ? rank(left) < rank(right) : keys[left].compare(keys[right]) < 0;
    };
    if (column >= 0)
        std::ranges::stable_sort(m_order, [&](std::size_t left, std::size_t right) {
            return order == Qt::AscendingOrder ? isBefore(left, right) : isBefore(right, left);
        });
    std::vector<int> rowOf(m_order.size());
    for (std::size_t row = 0; row < m_order.size(); ++row)
        rowOf[m_order[row]] = static_cast<int>(row);
    const QModelIndexList old = persistentIndexList();
    QModelIndexList moved;
    for (const QModelIndex& each : old)
        moved.push_back(index(rowOf[before[static_cast<std::size_t>(each.row())]], each.column()));
    changePersistentIndexList(old, moved);
    Q_EMIT layoutChanged({}, VerticalSortHint);
}

} // namespace vesto
