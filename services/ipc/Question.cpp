#include "services/ipc/Question.h"

#include "services/ipc/Wire.h"

#include <chrono>

namespace vesto::ipc {
namespace {

// Two programs of one build talk to each other; the number tells where an update replaced one of them only.
constexpr std::uint32_t magic = 0x76657231; // "ver1"
constexpr std::size_t maxTypeBytes = 300;
constexpr std::size_t maxNameBytes = 1024; // 255 UTF-16 units on FAT and NTFS are up to 765
constexpr std::size_t maxLanguages = 16;
constexpr std::size_t maxLanguageBytes = 64;
constexpr auto routeCount = static_cast<std::uint8_t>(Route::document) + 1;

} // namespace

std::string encode(const Question& question) {
    WireWriter out;
    out.number(magic);
    out.number(static_cast<std::uint8_t>(question.about));
    out.number(static_cast<std::uint8_t>(question.route));
    out.text(question.type);
    out.text(question.fileName);
    out.boolean(question.bestDate.has_value());
    out.integer(question.bestDate ? question.bestDate->time_since_epoch().count() : 0);
    out.number(static_cast<std::uint32_t>(question.recognitionLanguages.size()));
    for (const std::string& language : question.recognitionLanguages)
        out.text(language);
    return out.take();
}

std::optional<Question> decodeQuestion(std::string_view bytes) {
    WireReader in(bytes);
    Question question;
    in.require(bytes.size() <= Question::maxBytes && in.number<std::uint32_t>() == magic);
    question.about = in.enumerator<Question::About>(2);
    question.route = in.enumerator<Route>(routeCount);
    question.type = in.utf8(maxTypeBytes);
    question.fileName = in.text(maxNameBytes);
    in.require(question.fileName.find_first_of(std::string_view("/\0", 2)) == std::string::npos);
    const bool dated = in.boolean();
    const std::int64_t date =
        in.integer(std::numeric_limits<std::int64_t>::min(), std::numeric_limits<std::int64_t>::max());
    if (dated)
        question.bestDate = Instant(std::chrono::microseconds(date));
    const std::size_t languages = in.count(maxLanguages, sizeof(std::uint32_t));
    for (std::size_t i = 0; i < languages; ++i)
        question.recognitionLanguages.push_back(in.utf8(maxLanguageBytes));
    return in.isComplete() ? std::optional(std::move(question)) : std::nullopt;
}

std::string encode(const Greeting& greeting) {
    WireWriter out;
    out.number(magic);
    out.number(static_cast<std::uint8_t>(greeting.jail));
    return out.take();
}

std::optional<Greeting> decodeGreeting(std::string_view bytes) {
    WireReader in(bytes);
    in.require(in.number<std::uint32_t>() == magic);
    const Greeting greeting{in.enumerator<Jail>(4)};
    return in.isComplete() ? std::optional(greeting) : std::nullopt;
}

} // namespace vesto::ipc
