#pragma once
#include "app/model/AppModel.h"
#include "app/model/EndSignals.h"
#include "core/support/Json.h"

#include <QEventLoop>
#include <QObject>
#include <QTimer>
#include <chrono>
#include <filesystem>
#include <functional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace vesto {

/// A model that watches, told as it happens, until a signal or an order ends it. Main thread.
class EngineWatch : public QObject {
public:
    /// `model` was not started yet. `patience`: how long a folder that does not answer is waited for until it
    /// is told that all has begun but that.
    EngineWatch(AppModel& model, std::function<bool(const Json&)> onEvent,
                std::chrono::milliseconds patience = std::chrono::seconds(20));

    /// Starts the model and adds `folders`. True where all that was begun is finished; false where the events
    /// are not heard any more.
    [[nodiscard]] bool run(const std::vector<std::filesystem::path>& folders);

    /// Finishes the file at hand and ends `run`; a second time, without waiting for it.
    void stop();

private:
    void follow();
    void tell(std::string_view event, const Json& record);
    void tellFolders();
    void add(const std::filesystem::path& folder);
    [[nodiscard]] std::vector<std::filesystem::path> awaited() const;
    void tellStarted();
    void endPatience();
    void sayStarted();

    AppModel& m_model;
    std::function<bool(const Json&)> m_onEvent;
    EndSignals m_signals;
    QEventLoop m_loop;
    std::set<std::string, std::less<>> m_watching; // ids of folders, as last told
    std::set<std::filesystem::path> m_joining;     // folders that are being added
    QTimer m_patience;                             // runs until it was told that all has begun
    bool m_isStopping = false;
    bool m_isHeard = true;
};

} // namespace vesto
