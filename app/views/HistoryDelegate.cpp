#include "app/views/HistoryDelegate.h"

#include "app/model/RenameRecord.h"
#include "app/views/Names.h"
#include "app/views/RecordModel.h"
#include "app/views/Roles.h"
#include "app/views/TableHeader.h"
#include "app/views/Words.h"

#include <QPainter>
#include <algorithm>

namespace vesto {
namespace {

using Status = RenameRecord::Status;

constexpr int buttonSide = 28;
constexpr int buttonEnd = 4; // from the edge

Status statusOf(const QModelIndex& index) {
    return static_cast<Status>(index.data(StatusRole).toInt());
}

/// Whether the file has its new name; where it has the old one, that stands out.
bool hasNewName(Status status) {
    return status == Status::done || status == Status::pending;
}

QColor stateColour(Status status, const Tones& tones) {
    switch (status) {
    case Status::done:
        return tones.success();
    case Status::pending:
    case Status::undone:
        return tones.secondary();
    case Status::failed:
        return tones.failure();
    }
    return {};
}

QColor textColour(int column, Status status, const Tones& tones) {
    switch (column) {
    case RecordModel::dateColumn:
        return tones.secondary();
    case RecordModel::oldNameColumn:
        return hasNewName(status) ? tones.secondary() : tones.text();
    case RecordModel::statusColumn:
        return status == Status::done ? tones.text() : stateColour(status, tones);
    default:
        return hasNewName(status) ? tones.text() : tones.secondary();
    }
}

} // namespace

int HistoryDelegate::stateWidth(const QFontMetrics& metrics) {
    const QString automatic = french("Automatique");
    const int done = metrics.horizontalAdvance(automatic) + buttonSide; // it can be undone
    const int undone = metrics.horizontalAdvance(french("%1 · %2", french("Annulé"), automatic));
    return std::max(done, undone) + TableHeader::margin + symbolWidth + buttonSide + (2 * buttonEnd);
}

std::vector<RowPart> HistoryDelegate::parts(const QStyleOptionViewItem& option,
                                            const QModelIndex& index) const {
    QRect place;
    if (index.column() == RecordModel::statusColumn && isRowLively(index))
        place = QRect(option.rect.right() - buttonSide - buttonEnd, option.rect.top(), buttonSide,
                      option.rect.height());
    const QRect before = place.isNull() ? place : place.translated(-buttonSide, 0);
    std::vector<RowPart> all;
    if (index.data(CanUndoRole).toBool())
        all.push_back(
            {.id = undo, .place = before, .text = french("Annuler le renommage"), .symbol = Symbol::undo});
    all.push_back(
        {.id = reveal, .place = place, .text = french("Afficher dans le Finder"), .symbol = Symbol::reveal});
    return all;
}

void HistoryDelegate::paintText(QPainter& painter, const QStyleOptionViewItem& option,
                                const QModelIndex& index, const QRect& place) const {
    const QString text = index.data(Qt::DisplayRole).toString();
    const int column = index.column();
    const bool isName = column == RecordModel::newNameColumn || column == RecordModel::oldNameColumn;
    const QString fitting = isName ? elideName(text, option.fontMetrics, place.width())
                                   : option.fontMetrics.elidedText(text, Qt::ElideRight, place.width());
    const bool isNumber = column == RecordModel::confidenceColumn;
    paintLine(painter, place, fitting, option.font,
              textColour(column, statusOf(index), Tones(option.palette)),
              isNumber ? Qt::AlignRight : Qt::AlignLeft);
}

void HistoryDelegate::paint(QPainter* painter, const QStyleOptionViewItem& given,
                            const QModelIndex& index) const {
    QStyleOptionViewItem option = given;
    initStyleOption(&option, index);
    painter->save();
    paintCellGround(*painter, option, index);
    QRect place = contentOf(option);
    if (index.column() == RecordModel::statusColumn) {
        const auto symbol = static_cast<Symbol>(index.data(SymbolRole).toInt());
        place = paintSymbol(*painter, place, symbol, stateColour(statusOf(index), Tones(option.palette)));
        for (const RowPart& part : parts(option, index)) {
            if (part.place.isNull())
                continue;
            paintPart(*painter, option, index, part);
            place.setRight(std::min(place.right(), part.place.left() - 4));
        }
    }
    paintText(*painter, option, index, place);
    painter->restore();
}

} // namespace vesto
