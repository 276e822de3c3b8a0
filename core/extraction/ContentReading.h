#pragma once
#include "core/extraction/Route.h"
#include "core/extraction/SummarizerError.h"
#include "core/naming/ContentSummary.h"
#include "core/support/Time.h"

#include <expected>
#include <filesystem>
#include <optional>
#include <string>

namespace vesto {

struct SummarizerSettings;

/// One file to read. Everything a reader may know of it; a reader never opens a path.
struct ReadRequest {
    int fd = -1;                // open for reading, a regular file; borrowed for the call
    std::filesystem::path path; // its name tells the format; never opened
    ContentType type;
    Route route = Route::document;
    std::optional<Instant> bestDate; // of the file system, for content that carries no date
};

/// The seam between the core and the readers of foreign formats.
class ContentReading {
public:
    virtual ~ContentReading() = default;

    /// A complete summary, or `unreadable` or `locked`. Callable from any thread.
    [[nodiscard]] virtual std::expected<ContentSummary, SummarizerError>
    read(const ReadRequest& request, const SummarizerSettings& settings) = 0;
};

} // namespace vesto
