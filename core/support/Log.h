#pragma once
#include <cstdint>
#include <filesystem>
#include <initializer_list>
#include <string>
#include <string_view>
#include <variant>

/// What the program notes for who looks after it: in the system's journal, or on standard error where there
/// is none or a person sits before it. Names of files are private arguments; what a document says is never
/// one. Thread-safe; never fails, never waits for long.
namespace vesto::log {

enum class Level { error = 3, warning = 4, info = 6, debug = 7 }; // the journal's priorities

using Argument = std::variant<std::string_view, double, bool>;

/// `format` has "%{public}s", "%{private}s", "%f" and "%{bool}d" for the arguments in their order. A private
/// one is written as "<private>" unless VESTO_LOG_PRIVATE=1 asks for it.
void write(Level level, std::string_view format, std::initializer_list<Argument> arguments = {});

/// The line that `write` makes. Whatever has no argument or no meaning stays as it is.
[[nodiscard]] std::string line(std::string_view format, std::initializer_list<Argument> arguments,
                               bool showsPrivate);

/// Where lines go.
struct Sink {
    std::filesystem::path journal = "/run/systemd/journal/socket"; // empty: no journal
    int errorOutput = 2;                                           // borrowed
    Level least = Level::info; // of what is written; VESTO_LOG=error, warning, info or debug

    /// The journal where it listens and standard error is no terminal; there only warnings and worse.
    [[nodiscard]] static Sink ofThisProcess();

    void write(Level level, std::string_view text) const;
};

} // namespace vesto::log
