#pragma once
#include "core/extraction/readers/pictures/Raster.h"

#include <chrono>
#include <cstdint>
#include <string>
#include <vector>

namespace vesto::readers {

/// Recognition works on at most this many pixels; larger pictures are made smaller.
inline constexpr std::uint64_t maxRecognizedPixels = 4'000'000;

#ifdef VESTO_SANITIZED
inline constexpr std::chrono::milliseconds recognitionTimeLimit{4 * 8000}; // as all there takes longer
#else
inline constexpr std::chrono::milliseconds recognitionTimeLimit{8000};
#endif

struct RecognizedText {
    std::vector<std::string> lines{};            // as LineCollector leaves them, in reading order
    std::vector<std::string> missingLanguages{}; // Tesseract's codes
};

/// The text in a picture, dark on light or light on dark. Gives what it has at the end of the time. Without
/// data of any of the languages there is no text. Callable from any thread; one at a time works.
[[nodiscard]] RecognizedText recognizeText(const Raster& picture, const std::vector<std::string>& languages,
                                           std::chrono::milliseconds timeLimit = recognitionTimeLimit);

enum class WarmLanguages { first, all };

/// Loads what recognises text in these languages (BCP 47), so that processes forked later have it: the first
/// that is installed, which reads every page, or the others too, which only pages that it read badly need.
/// Starts no thread and reads only installed data. Cheap once done.
void warmTextRecognition(const std::vector<std::string>& languages, WarmLanguages which);

/// Whether a picture needed more than the first language, or they were all loaded beforehand.
[[nodiscard]] bool hasLoadedSeveralLanguages();

/// Tesseract's codes of languages named as in BCP 47 («fr-FR»), each once; those it has none for are left
/// out.
[[nodiscard]] std::vector<std::string> recognitionCodes(const std::vector<std::string>& languages);

} // namespace vesto::readers
