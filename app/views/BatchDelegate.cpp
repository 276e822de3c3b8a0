#include "app/views/BatchDelegate.h"

#include "app/views/BatchModel.h"
#include "app/views/ConfidenceMark.h"
#include "app/views/Formats.h"
#include "app/views/Names.h"
#include "app/views/Roles.h"
#include "app/views/TableHeader.h"
#include "app/views/Words.h"

#include <QAbstractItemView>
#include <QKeyEvent>
#include <QLineEdit>
#include <QPainter>
#include <QStyle>
#include <algorithm>

namespace vesto {
namespace {

constexpr int markGap = 6;

bool isProposed(const QModelIndex& index) {
    return index.siblingAtColumn(BatchModel::checkColumn).data(Qt::CheckStateRole).isValid();
}

} // namespace

int BatchDelegate::confidenceWidth(const QFontMetrics& metrics) {
    const int mark = std::max(symbolWidth, ConfidenceMark::size.width() + markGap);
    const int words =
        std::max(metrics.horizontalAdvance(french("Modifié")), metrics.horizontalAdvance(percentage(1)));
    constexpr int arrow = 14; // of the header
    return std::max(mark + words, metrics.horizontalAdvance(french("Confiance")) + arrow) +
           (2 * TableHeader::margin);
}

std::vector<RowPart> BatchDelegate::parts(const QStyleOptionViewItem& option,
                                          const QModelIndex& index) const {
    std::vector<RowPart> all;
    if (isProposed(index)) {
        const QModelIndex box = index.siblingAtColumn(BatchModel::checkColumn);
        QRect place;
        if (index.column() == BatchModel::checkColumn) {
            const int side = view().style()->pixelMetric(QStyle::PM_IndicatorWidth, nullptr, &view());
            place = QRect(0, 0, side, side);
            place.moveCenter(option.rect.center());
        }
        const bool isChecked = box.data(Qt::CheckStateRole).toInt() == static_cast<int>(Qt::Checked);
        all.push_back({.id = check,
                       .place = place,
                       .look = RowPart::Look::check,
                       .text = isChecked ? french("Ne pas renommer") : french("Renommer"),
                       .isChecked = isChecked});
        all.push_back({.id = edit, .place = {}, .text = french("Modifier le titre")});
        if (!index.data(ConfidenceRole).isValid())
            all.push_back({.id = restore, .place = {}, .text = french("Rétablir le titre proposé")});
    }
    if (index.column() == BatchModel::confidenceColumn && index.data(ConfidenceRole).isValid())
        all.push_back({.id = mark,
                       .place = contentOf(option),
                       .look = RowPart::Look::mark,
                       .text = ConfidenceMark::tip(),
                       .isInMenu = false});
    return all;
}

void BatchDelegate::paintConfidence(QPainter& painter, const QStyleOptionViewItem& option,
                                    const QModelIndex& index) const {
    const Tones tones(option.palette);
    QRect place = contentOf(option);
    const QVariant step = index.data(StepRole);
    const bool isSettled = !isProposed(index);
    if (step.isValid()) {
        ConfidenceMark::paint(painter, place, static_cast<ConfidenceMark::Step>(step.toInt()), tones);
        place.adjust(ConfidenceMark::size.width() + markGap, 0, 0, 0);
    } else {
        place = paintSymbol(painter, place, Symbol::edit, tones.secondary());
    }
    paintLine(painter, place, index.data().toString(), option.font,
              step.isValid() && !isSettled ? tones.text() : tones.secondary());
}

void BatchDelegate::paintCell(QPainter& painter, const QStyleOptionViewItem& option,
                              const QModelIndex& index) const {
    const Tones tones(option.palette);
    const QString text = index.data().toString();
    const QRect place = contentOf(option);
    switch (index.column()) {
    case BatchModel::checkColumn: {
        const QVariant symbol = index.data(SymbolRole);
        if (symbol.isValid()) {
            const auto drawing = static_cast<Symbol>(symbol.toInt());
            QRect side(0, 0, 16, 16);
            side.moveCenter(option.rect.center());
            Icons::paint(painter, side, drawing, drawing == Symbol::done ? tones.success() : tones.failure());
        }
        break;
    }
    case BatchModel::titleColumn: {
        const bool isName = index.data(SymbolRole).isValid();
        const QString fitting = isName ? elideName(text, option.fontMetrics, place.width())
                                       : option.fontMetrics.elidedText(text, Qt::ElideMiddle, place.width());
        paintLine(painter, place, fitting, option.font, tones.text());
        break;
    }
    case BatchModel::currentColumn: {
        const bool isError = !index.data(ErrorRole).toString().isEmpty();
        const QString fitting = isError ? option.fontMetrics.elidedText(text, Qt::ElideRight, place.width())
                                        : elideName(text, option.fontMetrics, place.width());
        paintLine(painter, place, fitting, option.font, isError ? tones.failure() : tones.secondary());
        break;
    }
    default:
        paintConfidence(painter, option, index);
        break;
    }
}

void BatchDelegate::paint(QPainter* painter, const QStyleOptionViewItem& given,
                          const QModelIndex& index) const {
    QStyleOptionViewItem option = given;
    initStyleOption(&option, index);
    painter->save();
    paintCellGround(*painter, option, index);
    paintCell(*painter, option, index);
    for (const RowPart& part : parts(option, index)) {
        if (part.look != RowPart::Look::check || part.place.isNull())
            continue;
        paintPart(*painter, option, index, part);
    }
    painter->restore();
}

// ---- Writing a title ----

QWidget* BatchDelegate::createEditor(QWidget* parent, const QStyleOptionViewItem& /*option*/,
                                     const QModelIndex& index) const {
    auto* editor = new QLineEdit(parent);
    editor->setPlaceholderText(french("Titre"));
    editor->setAccessibleName(french("Titre"));
    editor->setAccessibleDescription(french("au lieu de %1", index.data(OldNameRole).toString()));
    connect(editor, &QLineEdit::textChanged, this, [this](const QString& title) { Q_EMIT drafted(title); });
    return editor;
}

void BatchDelegate::updateEditorGeometry(QWidget* editor, const QStyleOptionViewItem& option,
                                         const QModelIndex& /*index*/) const {
    editor->setGeometry(option.rect.adjusted(2, 2, -2, -2));
}

void BatchDelegate::setModelData(QWidget* editor, QAbstractItemModel* model, const QModelIndex& index) const {
    model->setData(index, static_cast<QLineEdit*>(editor)->text(), Qt::EditRole);
}

bool BatchDelegate::eventFilter(QObject* watched, QEvent* event) {
    auto* editor = qobject_cast<QLineEdit*>(watched);
    if (editor == nullptr || event->type() != QEvent::KeyPress)
        return TableDelegate::eventFilter(watched, event);
    const auto* key = static_cast<QKeyEvent*>(event);
    const bool isEnter = key->key() == Qt::Key_Return || key->key() == Qt::Key_Enter;
    if (!isEnter || key->modifiers().testFlag(Qt::ControlModifier))
        return TableDelegate::eventFilter(watched, event);
    if (key->isAutoRepeat())
        return true; // held, it goes one title on
    Q_EMIT commitData(editor);
    Q_EMIT closeEditor(editor);
    Q_EMIT committed();
    return true;
}

} // namespace vesto
