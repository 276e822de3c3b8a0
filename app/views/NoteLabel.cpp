#include "app/views/NoteLabel.h"

#include "app/views/Tones.h"

#include <QApplication>
#include <QEvent>

namespace vesto {

NoteLabel::NoteLabel(const QString& text, QWidget* parent, Tone tone, double scale)
    : WrappingLabel(parent)
    , m_tone(tone)
    , m_scale(scale) {
    setText(text);
    colour();
}

void NoteLabel::setTone(Tone tone) {
    m_tone = tone;
    colour();
}

void NoteLabel::colour() {
    if (m_isColouring) // what follows tells of itself
        return;
    m_isColouring = true;
    setFont(scaledFont(QApplication::font(), m_scale));
    const QPalette desktop = QApplication::palette();
    const Tones tones(desktop);
    QPalette own; // of one colour; the others are the window's
    own.setColor(QPalette::WindowText, m_tone == Tone::secondary ? tones.secondaryOnWindow()
                                       : m_tone == Tone::caution ? tones.caution()
                                       : m_tone == Tone::failure ? tones.failure()
                                                                 : desktop.color(QPalette::WindowText));
    setPalette(own);
    setForegroundRole(QPalette::WindowText);
    m_isColouring = false;
}

void NoteLabel::changeEvent(QEvent* event) {
    WrappingLabel::changeEvent(event);
    // The application's font: its own is set, so that no change of that reaches it.
    if (event->type() == QEvent::PaletteChange || event->type() == QEvent::FontChange ||
        event->type() == QEvent::ApplicationFontChange)
        colour();
}

} // namespace vesto
