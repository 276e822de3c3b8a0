#pragma once
#include "app/views/Icons.h"

#include <QString>
#include <QWidget>

class QLabel;
class QVBoxLayout;

namespace vesto {

/// What stands where there is nothing to show: a symbol and a sentence, in the middle.
class EmptyNote final : public QWidget {
public:
    explicit EmptyNote(QWidget* parent = nullptr);

    void set(Symbol symbol, const QString& text, const QString& heading = {});
    /// Below the text.
    void add(QWidget* widget);

protected:
    void changeEvent(QEvent* event) override;

private:
    void paintSymbol();

    Symbol m_symbol = Symbol::info;
    QLabel* m_icon;
    QLabel* m_heading;
    QLabel* m_text;
    QVBoxLayout* m_column;
};

} // namespace vesto
