#include "app/views/PageParts.h"

#include "app/views/Tones.h"

#include <QAbstractButton>
#include <QApplication>
#include <QEvent>
#include <QFrame>
#include <QPainter>
#include <QVBoxLayout>

namespace vesto::PageParts {
namespace {

constexpr int distance = 16;

class Line final : public QFrame {
public:
    Line() { setFixedHeight(1); }

protected:
    void paintEvent(QPaintEvent* /*event*/) override {
        QPainter(this).fillRect(rect(), Tones(palette()).separatorOnWindow());
    }
};

/// Lives with its control.
class WheelKeeper final : public QObject {
public:
    using QObject::QObject;

    bool eventFilter(QObject* watched, QEvent* event) override {
        if (event->type() != QEvent::Wheel)
            return QObject::eventFilter(watched, event);
        event->ignore(); // so that it goes to the page
        return true;
    }
};

/// Lives with its button.
class IconKeeper final : public QObject {
public:
    IconKeeper(QAbstractButton& button, Symbol symbol)
        : QObject(&button)
        , m_button(button)
        , m_symbol(symbol) {
        button.installEventFilter(this);
        set();
    }

    bool eventFilter(QObject* watched, QEvent* event) override {
        if (event->type() == QEvent::PaletteChange)
            set();
        return QObject::eventFilter(watched, event);
    }

private:
    void set() { m_button.setIcon(Icons::themed(m_symbol, QApplication::palette())); }

    QAbstractButton& m_button;
    Symbol m_symbol;
};

} // namespace

QVBoxLayout* column(QWidget& page) {
    auto* column = new QVBoxLayout(&page);
    column->setContentsMargins(distance, distance, distance, distance);
    column->setSpacing(distance);
    return column;
}

QFrame* separator() {
    return new Line;
}

void keepFromWheel(QWidget& control) {
    control.setFocusPolicy(Qt::StrongFocus);
    control.installEventFilter(new WheelKeeper(&control));
}

void keepIcon(QAbstractButton& button, Symbol symbol) {
    new IconKeeper(button, symbol); // the button owns it
}

} // namespace vesto::PageParts
