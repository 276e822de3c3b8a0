#pragma once
#include "app/model/Batch.h"
#include "app/model/Settings.h"
#include "app/views/PreviewView.h"

#include <QTimer>
#include <QWidget>
#include <cstddef>
#include <optional>
#include <string>
#include <vector>

namespace vesto {

class AppModel;
class EvidenceView;
class NoteLabel;
class Shell;

/// What is known of one file of a batch: its picture, the name that it will carry, and why.
class BatchPreview final : public QWidget {
    Q_OBJECT
public:
    BatchPreview(AppModel& model, const Settings& settings, Shell& shell, QWidget* parent = nullptr);

    /// `title`: the one that is being written, or the item's. `namesakes` files get the same name before it.
    /// `neighbours` are likely to be shown next.
    void show(const Batch::Item& item, const std::string& title, std::size_t namesakes,
              const std::vector<const Batch::Item*>& neighbours);
    void clear();
    /// Lets go of the pictures.
    void forgetPictures();

    [[nodiscard]] QString finalName() const;
    [[nodiscard]] const PreviewView& picture() const { return *m_picture; }

private:
    void showName(const Batch::Item& item, const std::optional<std::string>& baseName);
    void lookForName();
    void takeName(const std::string& wanted, const std::string& name);
    [[nodiscard]] PreviewView::Subject subjectOf(const Batch::Item& item) const;

    AppModel& m_model;
    const Settings& m_settings;
    PreviewView* m_picture;
    NoteLabel* m_name;
    NoteLabel* m_old;
    EvidenceView* m_evidence;
    /// What everything shown follows from.
    struct Shown {
        std::string id;
        std::string title;
        decltype(Batch::Item::state) state;
        std::optional<std::string> baseName;
        std::size_t namesakes = 0;
        double threshold = 0;
        bool operator==(const Shown&) const = default;
    };
    std::optional<Shown> m_shown;
    std::string m_plainName; // without a number
    std::optional<Proposal> m_proposal;
    std::string m_baseName;
    std::size_t m_namesakes = 0;
    QTimer m_lookDelay;
};

} // namespace vesto
