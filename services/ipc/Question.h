#pragma once
#include "core/extraction/Route.h"
#include "core/support/Time.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

/// What the application says to the reader service, and the service's first word. A question is one packet;
/// with it go two descriptors: the file, open for reading, and the end of a pipe that takes the answer.
namespace vesto::ipc {

struct Question {
    enum class About { summary, preview };
    static constexpr std::size_t maxBytes = 4096; // of one packet
    static constexpr std::size_t descriptors = 2;

    About about = About::summary;
    Route route = Route::document;
    std::string type;     // the identifier
    std::string fileName; // the last component alone, any bytes but "/" and NUL
    std::optional<Instant> bestDate{};
    std::vector<std::string> recognitionLanguages{}; // BCP 47

    bool operator==(const Question&) const = default;
};

[[nodiscard]] std::string encode(const Question& question);
/// Nothing where a byte of it is wrong.
[[nodiscard]] std::optional<Question> decodeQuestion(std::string_view bytes);

/// How much of the jail this kernel gives.
enum class Jail {
    full,
    reduced, // without Landlock: system calls are filtered, paths are not
    none,    // without seccomp: nothing is read
    refused, // a part of it that the kernel has is not allowed here (a container's own filter): nothing is
             // read
};

/// The first packet, from the service.
struct Greeting {
    static constexpr std::size_t maxBytes = 64;

    Jail jail = Jail::none;
    bool operator==(const Greeting&) const = default;
};

[[nodiscard]] std::string encode(const Greeting& greeting);
/// Nothing also where the service speaks another version.
[[nodiscard]] std::optional<Greeting> decodeGreeting(std::string_view bytes);

} // namespace vesto::ipc
