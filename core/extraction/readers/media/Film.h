#pragma once
#include "core/extraction/ContentReading.h"
#include "core/extraction/Summarizer.h"
#include "core/extraction/readers/pictures/Raster.h"

#include <cstdint>
#include <expected>
#include <optional>
#include <string>

/// What the media libraries themselves give of a film; VideoReader.h has the rest done by others.
namespace vesto::readers {

struct Film {
    Reading reading; // without text and labels
    std::optional<Raster> frame;
};

/// A film's properties, one of its pictures and the beginning of its sound. `unreadable` where it has none of
/// these and no title. Callable from any thread.
[[nodiscard]] std::expected<Film, SummarizerError> readFilm(const ReadRequest& request,
                                                            const VideoSummarizer& settings);

struct FilmStill {
    std::optional<Raster> frame{}; // upright, scaled down to about the size asked for
    std::string cover{};           // a picture file; only where there is no frame
};

/// Callable from any thread.
[[nodiscard]] FilmStill stillOfFilm(const ReadRequest& request, std::uint64_t maxPixels);

} // namespace vesto::readers
