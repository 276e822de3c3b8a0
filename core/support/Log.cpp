#include "core/support/Log.h"

#include "core/support/Unicode.h"
#include "core/support/UniqueFd.h"

#include <fmt/format.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <cstring>
#include <optional>
#include <utility>

namespace vesto::log {
namespace {

/// Longer lines are cut: a datagram has a limit, and nobody reads them.
constexpr std::size_t maxBytes = 8000;

std::string_view environment(const char* name) {
    const char* value = std::getenv(name);
    return value == nullptr ? std::string_view{} : std::string_view(value);
}

std::string written(const Argument& argument) {
    struct Writer {
        std::string operator()(std::string_view text) const { return std::string(text); }
        std::string operator()(double number) const { return fmt::format("{:.2f}", number); }
        std::string operator()(bool value) const { return value ? "true" : "false"; }
    };
    return std::visit(Writer{}, argument);
}

/// One line of valid UTF-8, whatever a file is called.
std::string onOneLine(std::string_view text) {
    std::string repaired = unicode::repaired(text.substr(0, maxBytes));
    std::ranges::replace_if(
        repaired, [](char byte) { return (byte >= 0 && byte < ' ') || byte == 0x7F; }, ' ');
    return repaired;
}

/// False where nobody listens.
bool sendToJournal(const std::filesystem::path& journal, Level level, std::string_view text) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    if (journal.empty() || journal.native().size() >= sizeof address.sun_path)
        return false;
    std::memcpy(address.sun_path, journal.c_str(), journal.native().size() + 1);
    const UniqueFd socket(::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    if (!socket)
        return false;
    const std::string entry =
        fmt::format("PRIORITY={}\nSYSLOG_IDENTIFIER=vesto\nMESSAGE={}\n", static_cast<int>(level), text);
    // The C interface takes every kind of address as its common beginning.
    const auto* common = reinterpret_cast<const sockaddr*>(&address);
    return ::sendto(socket.get(), entry.data(), entry.size(), MSG_NOSIGNAL, common, sizeof address) >= 0;
}

const Sink& sink() {
    static const Sink ours = Sink::ofThisProcess();
    return ours;
}

} // namespace

std::string line(std::string_view format, std::initializer_list<Argument> arguments, bool showsPrivate) {
    static constexpr std::array<std::string_view, 4> places{"%{public}s", "%{private}s", "%f", "%{bool}d"};
    std::string result;
    const auto* argument = arguments.begin();
    while (!format.empty()) {
        const auto* place =
            std::ranges::find_if(places, [&](std::string_view known) { return format.starts_with(known); });
        if (place == places.end() || argument == arguments.end()) {
            result += format.front();
            format.remove_prefix(1);
            continue;
        }
        result += *place == places[1] && !showsPrivate ? "<private>" : written(*argument);
        ++argument;
        format.remove_prefix(place->size());
    }
    return onOneLine(result);
}

void write(Level level, std::string_view format, std::initializer_list<Argument> arguments) {
    static const bool showsPrivate = environment("VESTO_LOG_PRIVATE") == "1";
    if (level <= sink().least)
        sink().write(level, line(format, arguments, showsPrivate));
}

Sink Sink::ofThisProcess() {
    Sink found;
    if (::isatty(found.errorOutput) == 1 || ::access(found.journal.c_str(), W_OK) != 0) {
        found.journal.clear();
        found.least = Level::warning;
    }
    static constexpr std::array<std::pair<std::string_view, Level>, 4> levels{{{"error", Level::error},
                                                                               {"warning", Level::warning},
                                                                               {"info", Level::info},
                                                                               {"debug", Level::debug}}};
    for (const auto& [name, level] : levels)
        if (environment("VESTO_LOG") == name)
            found.least = level;
    return found;
}

void Sink::write(Level level, std::string_view text) const {
    if (sendToJournal(journal, level, text))
        return;
    // The prefix tells whoever collects standard error how bad it is.
    const std::string whole = fmt::format("<{}>{}\n", static_cast<int>(level), text);
    (void)!::write(errorOutput, whole.data(), whole.size());
}

} // namespace vesto::log
