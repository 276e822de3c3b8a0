#pragma once
#include "core/extraction/readers/media/AudioReader.h"
#include "core/extraction/readers/media/Film.h"
#include "core/extraction/readers/pictures/ImageLabels.h"
#include "core/extraction/readers/pictures/PictureFile.h"
#include "core/extraction/readers/pictures/TextRecognition.h"

/// The functions that stand in modules instead of the program, because what they are linked with takes long
/// to load. Each module exports its table under the name `vestoModule`; Modules.cpp has the same functions
/// call through it.
namespace vesto::reader {

/// Of the program and of its modules; they fit only where both are of the same.
inline constexpr const char* moduleVersion = VESTO_VERSION;

struct PictureFunctions {
    static constexpr const char* file = "vesto-pictures.so";
    const char* version;
    decltype(&readers::openPicture) openPicture;
    decltype(&readers::recognizeText) recognizeText;
    decltype(&readers::warmTextRecognition) warmTextRecognition;
    decltype(&readers::hasLoadedSeveralLanguages) hasLoadedSeveralLanguages;
};

struct LabelFunctions {
    static constexpr const char* file = "vesto-labels.so";
    const char* version;
    decltype(&readers::labelsOf) labelsOf;
};

struct MediaFunctions {
    static constexpr const char* file = "vesto-media.so";
    const char* version;
    decltype(&readers::summarizeAudio) summarizeAudio;
    decltype(&readers::coverOfRecording) coverOfRecording;
    decltype(&readers::readFilm) readFilm;
    decltype(&readers::stillOfFilm) stillOfFilm;
};

} // namespace vesto::reader

#define VESTO_MODULE_EXPORT extern "C" [[gnu::visibility("default")]] constinit const
