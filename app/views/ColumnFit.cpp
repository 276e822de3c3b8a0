#include "app/views/ColumnFit.h"

#include <QAbstractItemView>
#include <QEvent>
#include <QHeaderView>
#include <QList>
#include <algorithm>
#include <cmath>
#include <utility>

namespace vesto {
namespace {

constexpr int leastWidth = 48;
constexpr double mostOwn = 0.6; // of the table, for the columns that do not share
constexpr double shareScale = 1'000;

int ownWidth(const ColumnFit::Column& column) {
    return column.chosen > 0 ? column.chosen : column.width();
}

} // namespace

ColumnFit::ColumnFit(QAbstractItemView& table, QHeaderView& header, std::vector<Column> columns)
    : QObject(&table)
    , m_table(table)
    , m_viewport(table.viewport())
    , m_header(header)
    , m_columns(std::move(columns)) {
    m_header.setStretchLastSection(false);
    m_header.setMinimumSectionSize(leastWidth / 2);
    m_header.setSectionResizeMode(QHeaderView::Interactive);
    m_later.setSingleShot(true);
    m_later.setInterval(0);
    connect(&m_later, &QTimer::timeout, this, &ColumnFit::fit);
    table.installEventFilter(this);
    table.viewport()->installEventFilter(this);
    connect(&m_header, &QHeaderView::sectionResized, this,
            [this](int section, int /*before*/, int width) { follow(section, width); });
    fit();
}

bool ColumnFit::isThere(const Column& column) const {
    return m_table.viewport()->width() >= column.leastTable;
}

void ColumnFit::fit() {
    m_isFitting = true;
    const int room = m_table.viewport()->width();
    double own = 0;
    double shares = 0;
    for (const Column& column : m_columns) {
        m_header.setSectionHidden(column.section, !isThere(column));
        if (isThere(column) && column.width)
            own += ownWidth(column);
        else if (isThere(column))
            shares += column.share;
    }
    const double squeeze = std::min(1.0, room * mostOwn / std::max(own, 1.0));
    const double left = room - (own * squeeze);
    double end = 0; // of the columns so far, so that their roundings do not add up
    int placed = 0;
    for (const Column& column : m_columns) {
        if (!isThere(column))
            continue;
        if (column.width)
            end += squeeze * ownWidth(column);
        else
            end += left * column.share / shares;
        const int width = static_cast<int>(std::lround(end)) - placed;
        m_header.resizeSection(column.section, width);
        placed += width;
    }
    m_isFitting = false;
}

void ColumnFit::follow(int section, int width) {
    const auto dragged = std::ranges::find(m_columns, section, &Column::section);
    if (m_isFitting || dragged == m_columns.end())
        return;
    if (dragged->width) {
        dragged->chosen = std::max(width, leastWidth);
    } else {
        double others = 0; // the widths of those that share as well
        for (const Column& column : m_columns)
            if (!column.width && column.section != section && isThere(column))
                others += m_header.sectionSize(column.section);
        int own = 0;
        for (const Column& column : m_columns)
            if (column.width && isThere(column))
                own += m_header.sectionSize(column.section);
        const double left = m_table.viewport()->width() - own;
        if (others <= 0 || left < 2.0 * leastWidth) {
            fit();
            return;
        }
        dragged->share = std::clamp<double>(width, leastWidth, left - leastWidth);
        for (Column& column : m_columns)
            if (!column.width && column.section != section)
                column.share =
                    std::max(m_header.sectionSize(column.section), 1) / others * (left - dragged->share);
    }
    fit();
}

QByteArray ColumnFit::state() const {
    QByteArray text;
    for (const Column& column : m_columns) {
        const double value = column.width ? column.chosen : column.share * shareScale;
        text += QByteArray::number(std::llround(value)) + ' ';
    }
    return text.trimmed();
}

void ColumnFit::restore(const QByteArray& state) {
    constexpr int most = 10'000'000;
    const QList<QByteArray> words = state.split(' ');
    if (static_cast<std::size_t>(words.size()) != m_columns.size())
        return;
    std::vector<Column> columns = m_columns;
    for (std::size_t place = 0; place < columns.size(); ++place) {
        bool isNumber = false;
        const int value = words[static_cast<qsizetype>(place)].toInt(&isNumber);
        Column& column = columns[place];
        if (!isNumber || value < (column.width ? 0 : 1) || value > most)
            return;
        if (column.width)
            column.chosen = value;
        else
            column.share = value / shareScale;
    }
    m_columns = std::move(columns);
    fit();
}

bool ColumnFit::eventFilter(QObject* watched, QEvent* event) {
    // Others may come while the table is being destroyed.
    const bool isNewRoom = watched == m_viewport && event->type() == QEvent::Resize;
    if (isNewRoom)
        fit();
    else if (watched == parent() && event->type() == QEvent::FontChange)
        m_later.start(); // the header takes it later
    return QObject::eventFilter(watched, event);
}

} // namespace vesto
