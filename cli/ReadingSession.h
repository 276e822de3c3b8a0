#pragma once
#include "cli/Options.h"
#include "core/extraction/ContentReading.h"
#include "core/extraction/Summarizer.h"
#include "services/client/RemoteReader.h"
#include "services/client/RemoteTranscriber.h"

#include <filesystem>
#include <iosfwd>
#include <memory>
#include <set>
#include <string>
#include <vector>

namespace vesto::cli {

/// The jailed reader as one run of the command line uses it. What it has to say goes to `err`, so that
/// standard output stays for results.
class ReadingSession {
public:
    ReadingSession(const Options& options, std::ostream& err)
        : m_verbose(options.verbose)
        , m_err(err) {}

    /// Starts the reader. False, and says why, where nothing can be read safely: it does not start, or this
    /// process is not `offline` (kept from the network).
    [[nodiscard]] bool begin(bool offline);

    /// Reads through the reader and tells of its doings; must not outlive the session. What is said in
    /// recordings is heard by `speech`; without it, by the host of a program that watches, where one does.
    [[nodiscard]] Summarizer summarizer(const std::shared_ptr<RemoteTranscriber>& speech = nullptr);

    /// With --verbose: this file's turn has come.
    void tellStart(const std::filesystem::path& path);

    /// After a file that could not be read: says so, once, where the reader itself is what is missing.
    void tellWhetherReaderRuns();

private:
    void tellStage(const std::filesystem::path& path, ReadingStage stage);
    void tellMissing(const std::vector<std::string>& languages);

    bool m_verbose;
    std::ostream& m_err;
    std::shared_ptr<RemoteReader> m_reader = std::make_shared<RemoteReader>();
    std::set<std::string> m_missing; // languages that were told already
    bool m_toldEnd = false;
};

} // namespace vesto::cli
