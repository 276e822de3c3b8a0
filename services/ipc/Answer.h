#pragma once
#include "core/extraction/ContentReading.h"

#include <cstddef>
#include <cstdint>
#include <expected>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <variant>

/// What the jailed child writes into its pipe: frames of one byte of kind and four of length, some that tell
/// a stage and at last one that holds the result. The application takes every byte of it for an attacker's.
namespace vesto::ipc {

enum class Failure { unreadable, locked };
using Answer = std::variant<Reading, Preview, Failure>;

namespace limits {
inline constexpr std::size_t answerBytes = 8 << 20; // a reading without its sound
inline constexpr std::size_t soundSamples = std::size_t{60} * 16'000;
inline constexpr std::size_t previewBytes = std::size_t{Preview::maxSide} * Preview::maxSide * 4;
inline constexpr std::size_t stages = 64;         // told for one file
inline constexpr std::size_t textBytes = 4 << 20; // one line or title
inline constexpr std::size_t wordBytes = 256;     // a label, a language, the name of a format
inline constexpr std::size_t labels = 64;
inline constexpr std::size_t languages = 64;
inline constexpr std::int64_t pages = 10'000'000;
inline constexpr std::int64_t pixels = 1'000'000'000; // a side
inline constexpr double seconds = 1e9;                // of a recording, about 30 years
} // namespace limits

/// The whole frame. Bad bytes become U+FFFD, and a label or a number that a careless file gave and that no
/// decoder would take (a date before the year 1, a negative page count) is left out; a reading that is too
/// large is `unreadable`.
[[nodiscard]] std::string encodeAnswer(const Answer& answer);
[[nodiscard]] std::string encodeStage(ReadingStage stage);

/// Takes the bytes of one pipe as they come.
class AnswerDecoder {
public:
    /// `onStage` may be empty.
    explicit AnswerDecoder(std::function<void(ReadingStage)> onStage)
        : m_onStage(std::move(onStage)) {}

    /// False where the bytes are no answer and no more need be read: always before more than the largest
    /// answer has been kept.
    [[nodiscard]] bool take(std::string_view bytes);

    /// After the end of the pipe: the answer, or nothing where it is missing, incomplete or followed by more.
    [[nodiscard]] std::optional<Answer> finish();

private:
    [[nodiscard]] bool takeFrame(std::uint8_t kind, std::string_view payload);

    std::function<void(ReadingStage)> m_onStage;
    std::string m_waiting; // an incomplete frame
    std::optional<Answer> m_answer;
    std::size_t m_stages = 0;
    bool m_valid = true;
};

} // namespace vesto::ipc
