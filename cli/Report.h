#pragma once
#include "cli/CommandLine.h"
#include "cli/Options.h"
#include "cli/Targets.h"
#include "core/naming/Proposal.h"
#include "core/support/Json.h"

#include <filesystem>
#include <iosfwd>
#include <string>
#include <string_view>

namespace vesto::cli {

/// Prints one line or one JSON object for each file, at once, and remembers how the run ends.
class Report {
public:
    Report(const Options& options, std::ostream& out)
        : m_json(options.json)
        , m_out(out) {}

    /// Folders that gave no files; each counts as not done.
    void folders(const Targets& targets);

    /// One of them, and why.
    void nothingIn(const std::filesystem::path& folder, std::string_view reason);

    /// `before` → `after`, and a line that says more, unless empty.
    void done(const std::filesystem::path& before, std::string_view after, std::string_view more,
              const Json& record);

    /// What was done to `path`, where that is no new name.
    void changed(const std::filesystem::path& path, std::string_view what, std::string_view more,
                 const Json& record);

    /// What was not done, and why, which may quote names of strangers; `advice` says what to do, unless
    /// empty.
    void refused(const std::filesystem::path& path, std::string_view reason, const Json& record,
                 std::string_view advice = {});

    /// Something was not done that has no line of its own.
    void leaveUndone() { m_status = ExitStatus::notAllDone; }

    /// Whether anybody still hears: a verb that changes files stops where it can no longer say so.
    [[nodiscard]] bool heard() const;

    [[nodiscard]] ExitStatus status() const { return m_status; }

private:
    bool m_json;
    std::ostream& m_out;
    ExitStatus m_status = ExitStatus::done;
};

/// "Tableur (Excel), premières lignes du texte lu, confiance 55 %".
[[nodiscard]] std::string evidenceOf(const Proposal& proposal);

} // namespace vesto::cli
