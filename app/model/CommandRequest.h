#pragma once
#include "core/support/Json.h"

#include <functional>
#include <string>
#include <string_view>

namespace vesto {

/// One request to the engine while it is being served: what comes of it goes to its asker as JSON objects,
/// {"line": {…}} for each result, {"progress": {…}}, at last {"end": {"done": …}}. Main thread.
class CommandRequest {
public:
    using Emit = std::function<void(const Json&)>;

    explicit CommandRequest(Emit emit)
        : m_emit(std::move(emit)) {}

    void line(const Json& record);
    void progress(const Json& record);
    /// The last word. `reason`: in French, why not all of it was done, where the lines do not say it.
    void end(bool done, std::string_view reason = {});
    /// With further members of "end".
    void end(Json members);

    /// Whether nobody wants to hear more: it ended or was cancelled. Then no further file is changed for it.
    [[nodiscard]] bool isOver() const { return !m_emit; }

    /// The asker is gone.
    void cancel();
    /// Called at the cancel.
    void setOnCancel(std::function<void()> onCancel) { m_onCancel = std::move(onCancel); }

private:
    void emit(std::string_view key, Json value);

    Emit m_emit;
    std::function<void()> m_onCancel;
};

} // namespace vesto
