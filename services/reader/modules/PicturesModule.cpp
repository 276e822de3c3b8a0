#include "services/reader/modules/ModuleTables.h"

VESTO_MODULE_EXPORT vesto::reader::PictureFunctions vestoModule{
    .version = vesto::reader::moduleVersion,
    .openPicture = vesto::readers::openPicture,
    .recognizeText = vesto::readers::recognizeText,
    .warmTextRecognition = vesto::readers::warmTextRecognition,
    .hasLoadedSeveralLanguages = vesto::readers::hasLoadedSeveralLanguages,
};
