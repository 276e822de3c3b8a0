#pragma once
#include "core/support/Json.h"

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

/// What goes over the control socket between the engine and the command line: JSON objects, each cut into
/// frames that fit a socket's buffer. A frame is one packet: a byte that says whether it is the last, and a
/// piece.
namespace vesto::ipc {

inline constexpr std::size_t controlFrameBytes = std::size_t{32} << 10; // the longest packet
inline constexpr std::size_t maxControlRequest = std::size_t{256}
                                                 << 10;               // bytes of one message to the engine,
inline constexpr std::size_t maxControlAnswer = std::size_t{4} << 20; // and from it
inline constexpr int controlProtocol = 1;

/// The packets of one message, in their order.
[[nodiscard]] std::vector<std::string> controlFrames(std::string_view message);

/// Puts the frames of somebody who may lie together again.
class ControlAssembler {
public:
    explicit ControlAssembler(std::size_t maxBytes)
        : m_maxBytes(maxBytes) {}

    enum class Taken {
        piece,  // more is to come
        whole,  // `message` gives it
        broken, // too long, or no frame: nothing that comes behind it means anything
    };
    [[nodiscard]] Taken take(std::string_view frame);

    /// After `whole`, once.
    [[nodiscard]] std::string message();

private:
    std::size_t m_maxBytes;
    std::string m_message;
};

/// The object that a message is; nothing where it is none, or is nested deeper than any message of ours.
[[nodiscard]] std::optional<Json> parseControlMessage(std::string_view message);

} // namespace vesto::ipc
