#pragma once
#include "core/extraction/ContentReading.h"
#include "core/naming/ContentSummary.h"

#include <QCache>
#include <QFrame>
#include <QImage>
#include <QTimer>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace vesto {

class Shell;

/// The first page or the picture of a file, as its reader saw it in its jail; else the text that was read.
/// Asks for one picture at a time, first for the one that is looked at, then for its neighbours.
class PreviewView final : public QFrame {
    Q_OBJECT
public:
    /// A file that may be shown.
    struct Subject {
        std::string id;
        std::filesystem::path file;
        ContentSummary::Kind kind = ContentSummary::Kind::document;
        QStringList lines{}; // shown where there is no picture
        QString name{};      // for screen readers
    };

    explicit PreviewView(Shell& shell, QWidget* parent = nullptr);

    /// `neighbours`: who is likely to be asked for next.
    void show(const Subject& subject, std::vector<Subject> neighbours);
    void clear();

    [[nodiscard]] QSize sizeHint() const override;

    /// Whether the answer for what is shown is there.
    [[nodiscard]] bool isSettled() const;
    [[nodiscard]] bool hasPicture() const;

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    void askNext();
    void take(const std::string& id, const std::optional<Preview>& preview);
    void paintText(QPainter& painter, const QRect& place) const;

    Shell& m_shell;
    std::optional<Subject> m_subject;
    std::vector<Subject> m_wanted;
    bool m_isAsking = false;
    QTimer m_delay;                   // while somebody runs through the list nothing is asked
    QCache<QString, QImage> m_images; // by id; a null image: there is none
};

} // namespace vesto
