#include "services/ipc/ControlFrames.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <utility>

namespace vesto::ipc {
namespace {

constexpr char more = 0;
constexpr char last = 1;
constexpr std::size_t pieceBytes = controlFrameBytes - 1;
constexpr int deepest = 32;

/// Whether brackets are nested no deeper than `deepest`, those in texts aside.
bool isShallow(std::string_view json) {
    int depth = 0;
    bool isText = false;
    for (std::size_t i = 0; i < json.size(); ++i) {
        const char letter = json[i];
        if (isText) {
            if (letter == '\\')
                ++i;
            else if (letter == '"')
                isText = false;
        } else if (letter == '"') {
            isText = true;
        } else if (letter == '{' || letter == '[') {
            if (++depth > deepest)
                return false;
        } else if (letter == '}' || letter == ']') {
            --depth;
        }
    }
    return true;
}

} // namespace

std::vector<std::string> controlFrames(std::string_view message) {
    std::vector<std::string> frames;
    do {
        const std::string_view piece = message.substr(0, pieceBytes);
        message.remove_prefix(piece.size());
        frames.push_back(std::string(1, message.empty() ? last : more).append(piece));
    } while (!message.empty());
    return frames;
}

ControlAssembler::Taken ControlAssembler::take(std::string_view frame) {
    if (frame.empty() || frame.size() > controlFrameBytes || (frame.front() != more && frame.front() != last))
        return Taken::broken;
    const bool isLast = frame.front() == last;
    frame.remove_prefix(1);
    // Only the last piece may be a short one, so that nobody is kept busy by empty ones.
    if ((!isLast && frame.size() != pieceBytes) || frame.size() > m_maxBytes - m_message.size())
        return Taken::broken;
    m_message += frame;
    return isLast ? Taken::whole : Taken::piece;
}

std::string ControlAssembler::message() {
    return std::exchange(m_message, {});
}

std::optional<Json> parseControlMessage(std::string_view message) {
    if (!isShallow(message))
        return std::nullopt;
    auto value = parseJson(message);
    return value && value->is_object() ? std::move(value) : std::nullopt;
}

} // namespace vesto::ipc
