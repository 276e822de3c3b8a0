#pragma once
#include "app/model/PendingProposal.h"
#include "app/model/RenameRecord.h"

#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace vesto {

/// What a notification shows, and what it carries so that an answer finds its way back.
struct Notification {
    std::string identifier; // the proposal's or the record's id
    std::string title;
    std::string subtitle;
    std::string_view category; // "proposal" or "renamed"
    std::string_view thread;   // notifications of one thread are shown together
    std::string_view infoKey;  // "proposal" or "record": what the identifier is the id of

    bool operator==(const Notification&) const = default;
};

/// The file name that a proposal stands for, before any collision.
[[nodiscard]] std::string proposedNameOf(const Proposal& proposal);

[[nodiscard]] Notification notificationOf(const PendingProposal& pending);
[[nodiscard]] Notification notificationOf(const RenameRecord& record);

/// A button of a notification.
struct NotificationAction {
    std::string_view identifier;
    std::string_view title;
    bool takesText = false;            // asks for a title
    std::string_view sendTitle = {};   // of the button that sends it
    std::string_view placeholder = {}; // of its field
};

/// The buttons of a category.
[[nodiscard]] std::vector<NotificationAction> notificationActions(std::string_view category);

/// What the user did to a notification. An action that is none of ours means nothing.
struct NotificationResponse {
    std::string action;     // "accept", "edit", "ignore" or "undo"
    std::string identifier; // of the notification
    std::string text = {};  // with "edit": the title that the user wrote
};

/// Tells the user of proposals and renames where there is a place to do so. Called on the main thread; no
/// call waits.
class Notifier {
public:
    using OnResponse = std::function<void(NotificationResponse)>;

    virtual ~Notifier() = default;

    /// Once, before everything else. `onResponse` may be called on any thread, also after the model's end.
    virtual void setUp(OnResponse onResponse) = 0;
    virtual void notifyProposal(const PendingProposal& pending) = 0;
    /// Only for renames that nobody asked for.
    virtual void notifyRenamed(const RenameRecord& record) = 0;
    /// Takes back what was posted for a proposal; it may have gone already.
    virtual void removeProposal(std::string_view proposalID) = 0;
};

/// Where nobody can be told.
class NullNotifier final : public Notifier {
public:
    void setUp(OnResponse) override {}
    void notifyProposal(const PendingProposal&) override {}
    void notifyRenamed(const RenameRecord&) override {}
    void removeProposal(std::string_view) override {}
};

/// Keeps what it was told, as a notification centre would show it.
class RecordingNotifier final : public Notifier {
public:
    void setUp(OnResponse onResponse) override { m_onResponse = std::move(onResponse); }
    void notifyProposal(const PendingProposal& pending) override {
        m_shown.push_back(notificationOf(pending));
    }
    void notifyRenamed(const RenameRecord& record) override { m_shown.push_back(notificationOf(record)); }
    void removeProposal(std::string_view proposalID) override {
        std::erase_if(m_shown, [&](const Notification& notification) {
            return notification.category == "proposal" && notification.identifier == proposalID;
        });
    }

    [[nodiscard]] const std::vector<Notification>& shown() const { return m_shown; }
    /// Plays the user.
    void respond(NotificationResponse response) const { m_onResponse(std::move(response)); }

private:
    OnResponse m_onResponse;
    std::vector<Notification> m_shown;
};

} // namespace vesto
