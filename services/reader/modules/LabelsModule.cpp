#include "services/reader/modules/ModuleTables.h"

VESTO_MODULE_EXPORT vesto::reader::LabelFunctions vestoModule{
    .version = vesto::reader::moduleVersion,
    .labelsOf = vesto::readers::labelsOf,
};
