#include "app/model/CommandRequest.h"

#include <nlohmann/json.hpp>

#include <utility>

namespace vesto {

void CommandRequest::emit(std::string_view key, Json value) {
    if (!m_emit)
        return;
    Json event = Json::object();
    event[std::string(key)] = std::move(value);
    m_emit(event);
}

void CommandRequest::line(const Json& record) {
    emit("line", record);
}

void CommandRequest::progress(const Json& record) {
    emit("progress", record);
}

void CommandRequest::end(bool done, std::string_view reason) {
    Json members;
    members["done"] = done;
    if (!reason.empty())
        members["reason"] = reason;
    end(std::move(members));
}

void CommandRequest::end(Json members) {
    m_onCancel = {};
    if (const Emit last = std::exchange(m_emit, {}))
        last(Json{{"end", std::move(members)}});
}

void CommandRequest::cancel() {
    m_emit = {};
    if (const auto onCancel = std::exchange(m_onCancel, {}))
        onCancel();
}

} // namespace vesto
