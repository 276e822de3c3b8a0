#include "services/reader/modules/Modules.h"

#include "core/extraction/readers/pictures/ClassifierFolder.h"
#include "services/reader/Server.h"
#include "services/reader/modules/ModuleTables.h"

#include <dlfcn.h>
#include <unistd.h>

#include <filesystem>
#include <string_view>
#include <system_error>
#include <utility>

namespace vesto::reader {
namespace {

/// The table of a module beside this program. Null where there is none of our version.
template <typename Functions> const Functions* loadModule() {
    std::error_code error;
    const auto program = std::filesystem::read_symlink("/proc/self/exe", error);
    if (error)
        return nullptr;
    // Lazily: binding every call of these libraries beforehand takes as long again as loading them.
    void* module = ::dlopen((program.parent_path() / Functions::file).c_str(), RTLD_LAZY | RTLD_LOCAL);
    if (module == nullptr)
        return nullptr;
    const auto* functions = static_cast<const Functions*>(::dlsym(module, "vestoModule"));
    const bool fits = functions != nullptr && std::string_view(functions->version) == moduleVersion;
    return fits ? functions : nullptr;
}

/// Filled by the server only: a child cannot open the module from within the jail.
template <typename Functions> const Functions* loaded = nullptr;

template <typename Functions> bool load() {
    if (loaded<Functions> == nullptr)
        loaded<Functions> = loadModule<Functions>();
    return loaded<Functions> != nullptr;
}

/// In a child whose route does not always need the module the server loads it, and reads the file again.
template <typename Functions> const Functions& needed() {
    if (loaded<Functions> == nullptr)
        ::_exit(coldStatus);
    return *loaded<Functions>;
}

void loadPictures() {
    load<PictureFunctions>();
    if (readers::hasClassifier())
        load<LabelFunctions>();
}

bool severalLanguagesWereWarm = false;

} // namespace

void loadReaders(Route route) {
    switch (route) {
    case Route::image:
        loadPictures();
        break;
    case Route::video:
        load<MediaFunctions>();
        loadPictures();
        break;
    case Route::audio:
        load<MediaFunctions>();
        break;
    case Route::pdf:
    case Route::email:
    case Route::quickLook:
    case Route::document:
        break;
    }
}

void warmRecognition(const std::vector<std::string>& languages, readers::WarmLanguages which) {
    loadPictures();
    if (loaded<PictureFunctions> == nullptr)
        return;
    readers::warmTextRecognition(languages, which);
    severalLanguagesWereWarm = readers::hasLoadedSeveralLanguages();
}

bool neededOtherLanguages() {
    return !severalLanguagesWereWarm && loaded<PictureFunctions> != nullptr &&
           readers::hasLoadedSeveralLanguages();
}

} // namespace vesto::reader

/// In place of the functions of the same names that stand in the modules.
namespace vesto::readers {

using reader::LabelFunctions;
using reader::MediaFunctions;
using reader::PictureFunctions;

std::optional<PictureFile> openPicture(std::string_view bytes, std::uint64_t maxPixels) {
    return reader::needed<PictureFunctions>().openPicture(bytes, maxPixels);
}

RecognizedText recognizeText(const Raster& picture, const std::vector<std::string>& languages,
                             std::chrono::milliseconds timeLimit) {
    return reader::needed<PictureFunctions>().recognizeText(picture, languages, timeLimit);
}

void warmTextRecognition(const std::vector<std::string>& languages, WarmLanguages which) {
    reader::needed<PictureFunctions>().warmTextRecognition(languages, which);
}

bool hasLoadedSeveralLanguages() {
    return reader::needed<PictureFunctions>().hasLoadedSeveralLanguages();
}

std::vector<ContentSummary::Label> labelsOf(const Raster& picture, const ImageSummarizer& settings) {
    // A classifier that was installed since the readers were loaded waits for the next service.
    const auto* functions = reader::loaded<LabelFunctions>;
    return functions == nullptr ? std::vector<ContentSummary::Label>()
                                : functions->labelsOf(picture, settings);
}

std::expected<Reading, SummarizerError> summarizeAudio(const ReadRequest& request,
                                                       const AudioSummarizer& settings) {
    return reader::needed<MediaFunctions>().summarizeAudio(request, settings);
}

std::string coverOfRecording(const ReadRequest& request) {
    return reader::needed<MediaFunctions>().coverOfRecording(request);
}

std::expected<Film, SummarizerError> readFilm(const ReadRequest& request, const VideoSummarizer& settings) {
    return reader::needed<MediaFunctions>().readFilm(request, settings);
}

FilmStill stillOfFilm(const ReadRequest& request, std::uint64_t maxPixels) {
    return reader::needed<MediaFunctions>().stillOfFilm(request, maxPixels);
}

} // namespace vesto::readers
