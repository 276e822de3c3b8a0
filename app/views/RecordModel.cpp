#include "app/views/RecordModel.h"

#include "app/model/AppModel.h"
#include "app/views/Formats.h"
#include "app/views/Names.h"
#include "app/views/Words.h"
#include "core/files/FileName.h"
#include "core/support/Text.h"

#include <fmt/format.h>

#include <algorithm>
#include <iterator>
#include <tuple>
#include <utility>

namespace vesto {
namespace {

using Status = RenameRecord::Status;

bool isNewer(const RenameRecord& one, const RenameRecord& other) {
    return std::tie(one.date, one.id) > std::tie(other.date, other.id);
}

QString plainStatus(const RenameRecord& record) {
    switch (record.status) {
    case Status::pending:
        return french("En cours");
    case Status::done:
        return french(record.automatic ? "Automatique" : "Renommé");
    case Status::undone:
        return french("Annulé");
    case Status::failed:
        return shownSentence(record.errorMessage.value_or(std::string()));
    }
    return {};
}

} // namespace

QString statusText(const RenameRecord& record) {
    QString status = plainStatus(record);
    if (!record.automatic || record.status == Status::done)
        return status;
    return french("%1 · %2", status, french("Automatique"));
}

Symbol statusSymbol(const RenameRecord& record) {
    switch (record.status) {
    case Status::pending:
        return Symbol::running;
    case Status::done:
        return record.automatic ? Symbol::automatic : Symbol::done;
    case Status::undone:
        return Symbol::undo;
    case Status::failed:
        return Symbol::error;
    }
    return Symbol::done;
}

const std::string& currentNameOf(const RenameRecord& record) {
    const bool hasOldName = record.status == Status::undone || record.status == Status::failed;
    return hasOldName ? record.originalName : record.newName;
}

RecordModel::RecordModel(AppModel& model, QObject* parent, std::size_t mostRows)
    : QAbstractTableModel(parent)
    , m_model(model)
    , m_mostRows(mostRows) {
    for (QTimer* timer : {&m_readTimer, &m_followTimer, &m_countTimer}) {
        timer->setSingleShot(true);
        timer->setInterval(0);
    }
    connect(&m_readTimer, &QTimer::timeout, this, &RecordModel::readOn);
    connect(&m_followTimer, &QTimer::timeout, this, &RecordModel::follow);
    connect(&m_countTimer, &QTimer::timeout, this, &RecordModel::countOn);
    connect(&model, &AppModel::historyChanged, &m_followTimer, qOverload<>(&QTimer::start));
    connect(&model, &AppModel::undone, this, &RecordModel::update);
    reload();
}

// ---- Reading ----

std::optional<Store::Part> RecordModel::read(std::size_t limit, const std::optional<Store::Place>& after) {
    auto part = m_model.store().historyPart(utf8(m_search), limit, after);
    m_error = part ? QString() : shown(part.error().description);
    m_isStuck = !part;
    if (part)
        return std::move(*part);
    m_model.showError(fmt::format("{} {}", text("SwiftData :"), part.error().description));
    return std::nullopt;
}

void RecordModel::reload() {
    m_isOutdated = true;
    m_isComplete = false;
    m_readTo.reset();
    m_wanted = std::min(page, m_mostRows);
    readOn();
    countAgain();
}

void RecordModel::readOn() {
    m_readTimer.stop();
    const std::size_t rows = m_isOutdated ? 0 : m_rows.size();
    if (rows >= m_wanted)
        return;
    const bool isFirst = !m_readTo;
    auto part = read(m_wanted - rows, m_readTo);
    if (part) {
        m_isComplete = !part->next;
        m_readTo = part->next;
    }
    m_isFetching = true; // who hears of the new rows may ask for more
    if (!m_isOutdated) {
        if (part)
            insert(rows, part->records);
    } else if (!part || m_isComplete || !part->records.empty()) {
        replaceRows(part ? std::move(part->records) : std::vector<RenameRecord>());
        if (!isFirst)
            m_followTimer.start(); // what happened meanwhile
    }
    m_isFetching = false;
    readOnWhereWanted();
}

void RecordModel::readOnWhereWanted() {
    if (m_isOutdated || (!m_isStuck && !m_isComplete && m_rows.size() < m_wanted))
        m_readTimer.start();
}

void RecordModel::replaceRows(std::vector<RenameRecord> records) {
    beginResetModel();
    m_isOutdated = false;
    m_rows.assign(std::make_move_iterator(records.begin()), std::make_move_iterator(records.end()));
    endResetModel();
}

void RecordModel::setSearch(const QString& search) {
    if (m_search == search)
        return;
    m_search = search;
    reload();
}

bool RecordModel::canFetchMore(const QModelIndex& parent) const {
    return !parent.isValid() && !m_isComplete && !m_isStuck && !m_isFetching && !m_readTimer.isActive() &&
           m_rows.size() < m_mostRows;
}

void RecordModel::fetchMore(const QModelIndex& parent) {
    if (!canFetchMore(parent))
        return;
    m_wanted = std::min(m_rows.size() + page, m_mostRows);
    readOn();
}

void RecordModel::follow() {
    if (m_isOutdated)
        return; // done once there are rows
    if (const auto newest = read(std::min(page, m_mostRows), std::nullopt))
        merge(*newest);
    // Rows further down change where an earlier run's work was settled.
    std::vector<std::string> open;
    for (const RenameRecord& row : m_rows)
        if (row.status == Status::pending || row.undoing)
            open.push_back(row.id);
    for (const std::string& id : open)
        if (const auto now = m_model.store().record(id); now && *now)
            update(**now);
    countAgain();
}

void RecordModel::merge(const Store::Part& newest) {
    const std::span records(newest.records);
    m_isFetching = true; // who hears of the changes may ask for more
    std::size_t row = 0;
    for (std::size_t next = 0; next < records.size(); ++next) {
        const RenameRecord& record = records[next];
        std::size_t gone = row;
        while (gone < m_rows.size() && isNewer(m_rows[gone], record))
            ++gone;
        remove(row, gone - row);
        if (row < m_rows.size() && m_rows[row].id == record.id) {
            update(record);
            ++row;
            continue;
        }
        std::size_t last = next;
        while (last < records.size() && (row >= m_rows.size() || isNewer(records[last], m_rows[row])))
            ++last;
        insert(row, records.subspan(next, last - next));
        row += last - next;
        next = last - 1;
    }
    std::size_t gone = row;
    while (gone < m_rows.size() && (!newest.next || Store::Place::of(m_rows[gone]) > *newest.next))
        ++gone;
    remove(row, gone - row);
    if (!newest.next) {
        m_isComplete = true;
    } else if (m_rows.size() > m_mostRows) {
        remove(m_mostRows, m_rows.size() - m_mostRows);
        m_isComplete = false;
        m_readTo = Store::Place::of(m_rows.back());
    } else if (!m_readTo || *m_readTo > *newest.next) {
        m_readTo = newest.next;
    }
    m_isFetching = false;
    readOnWhereWanted();
}

void RecordModel::insert(std::size_t row, std::span<const RenameRecord> records) {
    if (records.empty())
        return;
    const auto first = static_cast<int>(row);
    beginInsertRows({}, first, first + static_cast<int>(records.size()) - 1);
    m_rows.insert(m_rows.begin() + first, records.begin(), records.end());
    endInsertRows();
}

void RecordModel::remove(std::size_t row, std::size_t count) {
    if (count == 0)
        return;
    const auto first = static_cast<int>(row);
    const auto last = first + static_cast<int>(count);
    beginRemoveRows({}, first, last - 1);
    m_rows.erase(m_rows.begin() + first, m_rows.begin() + last);
    endRemoveRows();
}

void RecordModel::update(const RenameRecord& record) {
    const auto place = std::ranges::lower_bound(m_rows, record, isNewer);
    if (place == m_rows.end() || place->id != record.id || *place == record)
        return;
    *place = record;
    const auto row = static_cast<int>(place - m_rows.begin());
    Q_EMIT dataChanged(index(row, 0), index(row, columns - 1));
}

// ---- Counting ----

std::optional<std::size_t> RecordModel::total() const {
    return m_tally.isComplete ? std::optional(m_tally.rows) : std::nullopt;
}

void RecordModel::setCounted(bool isCounted) {
    if (std::exchange(m_isCounted, isCounted) == isCounted)
        return;
    if (isCounted)
        countAgain();
    else
        m_countTimer.stop();
}

void RecordModel::countAgain() {
    m_tally = {};
    if (m_isCounted)
        countOn();
}

void RecordModel::countOn() {
    const auto tally = m_model.store().historyCount(utf8(m_search), m_tally);
    m_tally = tally.value_or(Store::Tally{});
    if (m_tally.isComplete || !tally)
        Q_EMIT totalChanged();
    else
        m_countTimer.start();
}

// ---- Answers ----

int RecordModel::rowCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : static_cast<int>(m_rows.size());
}

int RecordModel::columnCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : columns;
}

const RenameRecord* RecordModel::record(const QModelIndex& index) const {
    return index.isValid() && checkIndex(index) ? &m_rows[static_cast<std::size_t>(index.row())] : nullptr;
}

void RecordModel::refreshDates() {
    if (!m_rows.empty())
        Q_EMIT dataChanged(index(0, 0), index(rowCount() - 1, 0));
}

QVariant RecordModel::textOf(const RenameRecord& record, int column) const {
    switch (column) {
    case dateColumn:
        return tableDateTime(record.date);
    case newNameColumn:
        return shownName(record.newName);
    case oldNameColumn:
        return shownName(record.originalName);
    case confidenceColumn:
        return percentage(record.confidence);
    case statusColumn:
        return statusText(record);
    default:
        return {};
    }
}

QString RecordModel::accessibleText(const RenameRecord& record) const {
    const QString confidence = french("confiance %1", percentage(record.confidence));
    return french("%1, avant %2, %3, %4, %5", shownName(record.newName), shownName(record.originalName),
                  spokenDateTime(record.date), confidence, frenchLocale().toLower(statusText(record)));
}

QVariant RecordModel::data(const QModelIndex& index, int role) const {
    const RenameRecord* record = this->record(index);
    if (record == nullptr)
        return {};
    switch (role) {
    case Qt::DisplayRole:
        return textOf(*record, index.column());
    case Qt::TextAlignmentRole:
        return index.column() == confidenceColumn ? QVariant::fromValue(Qt::AlignRight | Qt::AlignVCenter)
                                                  : QVariant();
    case Qt::ToolTipRole:
        return index.column() == newNameColumn || index.column() == oldNameColumn
                   ? QVariant(leftToRight(textOf(*record, index.column()).toString()))
                   : QVariant();
    case Qt::AccessibleTextRole:
        return accessibleText(*record);
    case Qt::AccessibleDescriptionRole:
        return french("Entrée affiche le fichier, Ctrl+Z annule le renommage");
    case IdRole:
        return QString::fromStdString(record->id);
    case OldNameRole:
        return shownName(record->originalName);
    case NewNameRole:
        return shownName(record->newName);
    case CurrentNameRole:
        return shownName(currentNameOf(*record));
    case ConfidenceRole:
        return record->confidence;
    case SymbolRole:
        return static_cast<int>(statusSymbol(*record));
    case SourceRole:
        return static_cast<int>(record->source);
    case DateRole:
        return shortDateTime(record->date);
    case LongDateRole:
        return longDateTime(record->date);
    case StatusRole:
        return static_cast<int>(record->status);
    case StatusTextRole:
        return statusText(*record);
    case AutomaticRole:
        return record->automatic;
    case ErrorRole:
        return shownSentence(record->errorMessage.value_or(std::string()));
    case FolderPathRole:
        return shownName(record->folderPath);
    case FilePathRole:
        return QByteArray::fromStdString(record->folderPath + '/' + currentNameOf(*record));
    case CanUndoRole:
        return record->status == Status::done;
    default:
        return {};
    }
}

QVariant RecordModel::headerData(int section, Qt::Orientation orientation, int role) const {
    if (orientation == Qt::Horizontal && role == Qt::TextAlignmentRole && section == confidenceColumn)
        return QVariant::fromValue(Qt::AlignRight | Qt::AlignVCenter); // over its numbers
    if (orientation != Qt::Horizontal || role != Qt::DisplayRole)
        return {};
    switch (section) {
    case dateColumn:
        return french("Date");
    case newNameColumn:
        return french("Nouveau nom");
    case oldNameColumn:
        return french("Ancien nom");
    case confidenceColumn:
        return french("Confiance");
    case statusColumn:
        return french("État");
    default:
        return {};
    }
}

} // namespace vesto
