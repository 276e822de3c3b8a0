#include "app/views/NameRows.h"

#include "app/model/RenameRecord.h"
#include "app/views/ConfidenceMark.h"
#include "app/views/Names.h"
#include "app/views/Roles.h"
#include "app/views/Words.h"

#include <QAbstractItemView>
#include <QPainter>
#include <algorithm>

namespace vesto {
namespace {

constexpr int edge = 12;    // leading, and of the names trailing
constexpr int partsEnd = 8; // from the trailing edge
constexpr int padding = 8;  // above and below
constexpr int lineGap = 2;
constexpr int symbolSide = 16;
constexpr int toolSide = 28;
constexpr int toolGap = 4;
constexpr int markWidth = 26; // with what can be clicked around it
constexpr int pendingHeight = 67;
constexpr int recentHeight = 49;

/// The two lines of a row, and where its parts begin; from left to right, to be turned where all is.
struct Lines {
    QRect symbol;
    QRect name;
    QRect below;
};

int nameHeight(const QFont& font) {
    return QFontMetrics(nameFont(font)).height();
}

int belowHeight(const QFont& font) {
    return QFontMetrics(secondaryFont(font)).height();
}

Lines linesOf(const QRect& row, const QFont& font, int heightBelow) {
    const int height = nameHeight(font) + lineGap + heightBelow;
    const int top = row.top() + ((row.height() - height) / 2);
    Lines lines;
    lines.symbol =
        QRect(row.left() + edge, row.top() + ((row.height() - symbolSide) / 2), symbolSide, symbolSide);
    lines.name = QRect(row.left() + PendingRows::contentStart, top,
                       row.width() - PendingRows::contentStart - edge, nameHeight(font));
    lines.below =
        QRect(lines.name.left(), lines.name.bottom() + 1 + lineGap, lines.name.width(), heightBelow);
    return lines;
}

/// Tool buttons from the trailing edge of the row, the last first.
QRect toolPlace(const QRect& row, int centre, int fromEnd) {
    return {row.right() + 1 - partsEnd - toolSide - (fromEnd * (toolSide + toolGap)), centre - (toolSide / 2),
            toolSide, toolSide};
}

bool isLast(const QModelIndex& index) {
    return index.row() + 1 == index.model()->rowCount();
}

Symbol symbolOf(const QModelIndex& index) {
    return static_cast<Symbol>(index.data(SymbolRole).toInt());
}

QRect turned(const QStyleOptionViewItem& option, const QRect& place) {
    return QStyle::visualRect(option.direction, option.rect, place);
}

Qt::Alignment leading(const QStyleOptionViewItem& option) {
    return option.direction == Qt::RightToLeft ? Qt::AlignRight : Qt::AlignLeft;
}

} // namespace

// ---- Proposals ----

void PendingRows::setEdited(const QString& id, int height) {
    m_edited = id;
    m_editedHeight = height;
}

QSize PendingRows::sizeHint(const QStyleOptionViewItem& option, const QModelIndex& index) const {
    if (!m_edited.isEmpty() && index.data(IdRole).toString() == m_edited)
        return {0, m_editedHeight};
    return {option.rect.width(), rowHeight()};
}

int PendingRows::rowHeight() const {
    const QFont font = view().font();
    if (m_measuredFont != font) {
        const int below = std::max({belowHeight(font), toolSide, buttonSize(french("Accepter")).height()});
        m_rowHeight = std::max(pendingHeight, (2 * padding) + nameHeight(font) + lineGap + below + 1);
        m_measuredFont = font;
    }
    return m_rowHeight;
}

std::vector<RowPart> PendingRows::parts(const QStyleOptionViewItem& option, const QModelIndex& index) const {
    const QString accept = french("Accepter");
    const QSize button = buttonSize(accept);
    const Lines lines = linesOf(option.rect, option.font, std::max(button.height(), toolSide));
    const int centre = lines.below.center().y() + 1;
    const QRect ignore = toolPlace(option.rect, centre, 0);
    const QRect edit = toolPlace(option.rect, centre, 1);
    const QRect push(edit.left() - 8 - button.width(), centre - (button.height() / 2), button.width(),
                     button.height());
    const QRect mark(lines.below.left() - 6, centre - (toolSide / 2), markWidth + 4, toolSide);
    return {
        {.id = markPart,
         .place = turned(option, mark),
         .look = RowPart::Look::mark,
         .text = ConfidenceMark::tip(),
         .isInMenu = false},
        {.id = acceptPart,
         .place = turned(option, push),
         .look = RowPart::Look::push,
         .text = accept,
         .isDefault = view().hasFocus() && view().currentIndex() == index},
        {.id = editPart, .place = turned(option, edit), .text = french("Modifier"), .symbol = Symbol::edit},
        {.id = ignorePart,
         .place = turned(option, ignore),
         .text = french("Ignorer"),
         .symbol = Symbol::ignore}};
}

void PendingRows::paint(QPainter* painter, const QStyleOptionViewItem& given,
                        const QModelIndex& index) const {
    QStyleOptionViewItem option = given;
    initStyleOption(&option, index);
    painter->save();
    paintGround(*painter, option, index, isLast(index));
    const Tones tones(option.palette);
    const std::vector<RowPart> all = parts(option, index);
    Lines lines = linesOf(option.rect, option.font, all[acceptPart].place.height());
    const bool isEdited = !m_edited.isEmpty() && index.data(IdRole).toString() == m_edited;
    if (isEdited)
        lines.symbol.moveTop(option.rect.top() + padding + 6);
    Icons::paint(*painter, turned(option, lines.symbol), symbolOf(index), tones.secondary());
    if (!isEdited) {
        const QFont bold = nameFont(option.font);
        paintLine(*painter, turned(option, lines.name),
                  elideName(index.data(NameRole).toString(), QFontMetrics(bold), lines.name.width()), bold,
                  tones.text(), leading(option));
        const QRect mark = all[markPart].place;
        ConfidenceMark::paint(*painter, mark.adjusted(6, 0, 0, 0),
                              static_cast<ConfidenceMark::Step>(index.data(StepRole).toInt()), tones);

        const QFont small = secondaryFont(option.font);
        const QFontMetrics metrics(small);
        QRect below = lines.below;
        below.setLeft(below.left() + markWidth);
        below.setRight(QStyle::visualRect(option.direction, option.rect, all[acceptPart].place).left() - 8);
        const QString frame = french("au lieu de %1", quoted(QString()));
        const QString whole = index.data(OldNameRole).toString();
        const int room = below.width() - metrics.horizontalAdvance(frame);
        // Where there is hardly any room the name says more than the words around it.
        const bool hasRoom =
            room >= std::min(metrics.horizontalAdvance(whole), 10 * metrics.averageCharWidth());
        const QString words = hasRoom ? french("au lieu de %1", quoted(elideName(whole, metrics, room)))
                                      : elideName(whole, metrics, below.width());
        paintLine(*painter, turned(option, below), words, small, tones.secondary(), leading(option));
        for (const RowPart& part : all)
            paintPart(*painter, option, index, part);
    }
    painter->restore();
}

// ---- Renames ----

QSize RecentRows::sizeHint(const QStyleOptionViewItem& option, const QModelIndex& /*index*/) const {
    const QFont font = view().font();
    return {option.rect.width(),
            std::max(recentHeight, (2 * padding) + nameHeight(font) + lineGap + belowHeight(font))};
}

std::vector<RowPart> RecentRows::parts(const QStyleOptionViewItem& option, const QModelIndex& index) const {
    const int centre = option.rect.center().y();
    std::vector<RowPart> parts;
    if (index.data(CanUndoRole).toBool())
        parts.push_back({.id = undoPart,
                         .place = turned(option, toolPlace(option.rect, centre, 1)),
                         .text = french("Annuler"),
                         .symbol = Symbol::undo});
    parts.push_back({.id = revealPart,
                     .place = turned(option, toolPlace(option.rect, centre, 0)),
                     .text = french("Afficher dans le Finder"),
                     .symbol = Symbol::reveal});
    return parts;
}

void RecentRows::paint(QPainter* painter, const QStyleOptionViewItem& given, const QModelIndex& index) const {
    using Status = RenameRecord::Status;
    QStyleOptionViewItem option = given;
    initStyleOption(&option, index);
    painter->save();
    paintGround(*painter, option, index, isLast(index));
    const Tones tones(option.palette);
    const auto status = static_cast<Status>(index.data(StatusRole).toInt());
    const Lines lines = linesOf(option.rect, option.font, belowHeight(option.font));
    const int room = lines.name.width() + edge - partsEnd - (2 * (toolSide + toolGap));

    QColor symbol = tones.secondary();
    if (status == Status::done)
        symbol = tones.success();
    if (status == Status::failed)
        symbol = tones.failure();
    Icons::paint(*painter, turned(option, lines.symbol), symbolOf(index), symbol);

    const QFont bold = nameFont(option.font);
    QRect name = lines.name;
    name.setWidth(room);
    paintLine(*painter, turned(option, name),
              elideName(index.data(CurrentNameRole).toString(), QFontMetrics(bold), room), bold,
              status == Status::undone ? tones.secondary() : tones.text(), leading(option));

    const QFont small = secondaryFont(option.font);
    const QFontMetrics metrics(small);
    const QString date = index.data(DateRole).toString() + QStringLiteral("  ·  ");
    const int left = room - metrics.horizontalAdvance(date);
    QString second;
    switch (status) {
    case Status::pending:
        second = french("En cours");
        break;
    case Status::done:
        second = elideName(index.data(OldNameRole).toString(), metrics, left);
        break;
    case Status::undone:
        second = french("renommage annulé");
        break;
    case Status::failed:
        second = metrics.elidedText(index.data(ErrorRole).toString(), Qt::ElideRight, left);
        break;
    }
    QRect below = lines.below;
    below.setWidth(room);
    paintLine(*painter, turned(option, below), date + second, small,
              status == Status::failed ? tones.failure() : tones.secondary(), leading(option));
    for (const RowPart& part : parts(option, index))
        paintPart(*painter, option, index, part);
    painter->restore();
}

} // namespace vesto
