#pragma once
#include "app/views/WrappingLabel.h"

#include <QString>

namespace vesto {

/// A text that steps back, or says that something is not as it should be. Follows palette and font.
class NoteLabel final : public WrappingLabel {
public:
    enum class Tone { secondary, plain, caution, failure };

    explicit NoteLabel(const QString& text = {}, QWidget* parent = nullptr, Tone tone = Tone::secondary,
                       double scale = 0.9);

    void setTone(Tone tone);

protected:
    void changeEvent(QEvent* event) override;

private:
    void colour();

    Tone m_tone;
    double m_scale; // of the application's font
    bool m_isColouring = false;
};

} // namespace vesto
