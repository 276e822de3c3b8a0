#pragma once
#include "app/model/AppModel.h"
#include "app/model/Ledger.h"
#include "app/model/Mailbox.h"
#include "app/model/Worker.h"
#include "core/naming/NamingPipeline.h"

#include <QTimer>
#include <cstddef>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>

namespace vesto {

/// What the parts of the application's model share. Main thread.
///
/// Two threads touch watched folders: `naming` waits, reads and names, which may take minutes; `files` looks,
/// renames, marks and undoes, one file at a time, so that no order of the user's waits for a file that is
/// still being written and no file is renamed twice at once.
class ModelContext {
public:
    ModelContext(AppModel& face, AppModel::Dependencies dependencies)
        : m_face(face)
        , m_given(std::move(dependencies))
        , m_mailbox(std::make_shared<Mailbox>(face))
        , m_ledger(m_given.store, [this](std::string message) { fail(std::move(message)); }) {
        watchForSilence();
    }

    [[nodiscard]] AppModel& face() { return m_face; }
    [[nodiscard]] const AppModel::Dependencies& given() const { return m_given; }
    [[nodiscard]] Ledger& ledger() { return m_ledger; }
    [[nodiscard]] const std::shared_ptr<Mailbox>& mailbox() { return m_mailbox; }

    [[nodiscard]] const std::optional<std::string>& lastError() const { return m_lastError; }
    /// Shows a message to the user.
    void fail(std::string message) { setLastError(std::move(message)); }
    void setLastError(std::optional<std::string> message);

    /// Runs `work` on a worker thread and hands what it gives to `back` on the main thread; `back` is not
    /// called once the model is gone. `work` knows nothing of the model.
    template <typename Work, typename Back> void onFiles(Work work, Back back) {
        ++m_filesAtWork;
        m_files.post(brief(std::move(work), [this, answer = std::move(back)](auto&& result) mutable {
            --m_filesAtWork;
            answer(std::forward<decltype(result)>(result));
            if (isIdle() && m_whenIdle)
                m_whenIdle();
        }));
    }
    template <typename Work, typename Back> void onNaming(Work work, Back back) {
        m_naming.post(errand(std::move(work), std::move(back)));
    }
    /// The same for what takes but a moment wherever a disk answers.
    template <typename Work, typename Back> void onNamingBriefly(Work work, Back back) {
        m_naming.post(brief(std::move(work), std::move(back)));
    }
    /// Runs `letter` on the main thread, once what runs there now is over.
    void later(Mailbox::Letter letter) { m_mailbox->post(std::move(letter)); }
    /// Lets go of what may take its time to go.
    template <typename Owner> void dispose(Owner owner) {
        m_files.post([gone = std::move(owner)]() mutable { gone = {}; });
    }
    /// Whether no errand of `onFiles` is under way.
    [[nodiscard]] bool isIdle() const { return m_filesAtWork == 0; }
    void setWhenIdle(std::function<void()> whenIdle) { m_whenIdle = std::move(whenIdle); }

    /// A file that may be named is about to be read: what a model has to get ready, it can meanwhile.
    void prepareModel(const std::optional<Locale>& language = {}) const;

    /// A pipeline by the settings as they are now.
    [[nodiscard]] NamingPipeline pipeline(const std::optional<NameTemplate>& nameTemplate = {},
                                          const std::optional<Locale>& locale = {}) const;

    /// Waits for the workers, but not for one that hangs; what they had to say is delivered. `naming` must
    /// have been asked to stop.
    void endWorkers();

private:
    template <typename Work, typename Back> Worker::Task errand(Work work, Back back) {
        return [box = m_mailbox, work = std::move(work), back = std::move(back)]() mutable {
            box->post([result = work(), back = std::move(back)]() mutable { back(std::move(result)); });
        };
    }

    /// An errand whose answer is missed where it does not come.
    template <typename Work, typename Back> Worker::Task brief(Work work, Back back) {
        ++m_missed;
        expectAnswer();
        return errand(std::move(work), [this, answer = std::move(back)](auto&& result) mutable {
            --m_missed;
            noteAnswer();
            answer(std::forward<decltype(result)>(result));
        });
    }
    /// Null where titles come from the first usable lines.
    [[nodiscard]] std::shared_ptr<TitleGenerating> generator(const std::optional<Locale>& locale) const;
    void watchForSilence();
    void expectAnswer();
    void noteAnswer();

    AppModel& m_face;
    AppModel::Dependencies m_given;
    std::shared_ptr<Mailbox> m_mailbox;
    Ledger m_ledger;
    std::optional<std::string> m_lastError;
    std::size_t m_filesAtWork = 0; // errands whose answers are not back
    std::function<void()> m_whenIdle;
    std::size_t m_missed = 0; // brief errands whose answers are not back
    QTimer m_silence;         // since the last answer, while one is missed
    bool m_isSilenceTold = false;
    Worker m_files;
    Worker m_naming;
};

} // namespace vesto
