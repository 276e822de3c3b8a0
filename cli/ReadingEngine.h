#pragma once
#include "cli/EngineSession.h"
#include "cli/ModelSession.h"
#include "cli/ReadingSession.h"

#include <filesystem>
#include <iosfwd>
#include <memory>
#include <optional>

namespace vesto::cli {

/// A session with an engine that names files: where it is one of this process, with the jailed reader and the
/// language model, both started at first need.
class ReadingEngine {
public:
    ReadingEngine(const Options& options, std::ostream& err)
        : m_options(options)
        , m_err(err)
        , m_reading(options, err)
        , m_session(err) {}

    /// False where nothing can be done, which was said. `offline`: this process is kept from the network.
    [[nodiscard]] bool begin(bool offline);

    /// As `EngineSession::ask` does. An engine of this process waits for its model when it needs it; for the
    /// one of an engine that watches, which waits for nothing, it is waited here, before the first order.
    [[nodiscard]] EngineSession::Result ask(const Json& order, const Engine::OnEvent& onEvent);

    // With --verbose, where the reader is ours.
    void tellStart(const std::filesystem::path& path);
    void tellWhetherReaderRuns();

private:
    void awaitEnginesModel(const Json& order);

    const Options& m_options;
    std::ostream& m_err;
    ReadingSession m_reading;
    std::shared_ptr<ModelSession> m_model;
    EngineSession m_session; // which uses the two above
};

/// The order to name a file as the words of the command line say.
[[nodiscard]] Json namingOrder(const Options& options, std::string_view verb,
                               const std::filesystem::path& path);

} // namespace vesto::cli
