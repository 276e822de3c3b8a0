#pragma once
#include "core/support/Json.h"

#include <chrono>
#include <iosfwd>
#include <optional>
#include <string>

namespace vesto::cli {

/// How far a batch is, and how long it will still take: one line on a terminal that is written over, nothing
/// elsewhere.
class ProgressLine {
public:
    /// `err` is standard error.
    ProgressLine(std::ostream& err, bool isTerminal)
        : m_err(err)
        , m_isTerminal(isTerminal) {}
    ~ProgressLine() { clear(); }
    ProgressLine(const ProgressLine&) = delete;

    /// "stage", "done" and "total".
    void show(const Json& progress);

    /// Makes room for other lines.
    void clear();

private:
    std::ostream& m_err;
    bool m_isTerminal;
    bool m_isShown = false;
    std::string m_stage;
    std::chrono::nanoseconds m_start{0}; // of the stage
};

/// "[######····] 60 %, encore 12 s environ"; without an estimate where `left` is nothing.
[[nodiscard]] std::string progressWords(std::size_t done, std::size_t total,
                                        std::optional<std::chrono::seconds> left);

/// Whether standard error is a terminal.
[[nodiscard]] bool errorIsTerminal();

} // namespace vesto::cli
