#include "services/reader/modules/ModuleTables.h"

VESTO_MODULE_EXPORT vesto::reader::MediaFunctions vestoModule{
    .version = vesto::reader::moduleVersion,
    .summarizeAudio = vesto::readers::summarizeAudio,
    .coverOfRecording = vesto::readers::coverOfRecording,
    .readFilm = vesto::readers::readFilm,
    .stillOfFilm = vesto::readers::stillOfFilm,
};
