#include "services/reader/Server.h"
#include "services/reader/Start.h"
#include "services/reader/Work.h"
#include "services/reader/modules/Modules.h"

int main() {
    using namespace vesto;
    if (!reader::prepareProcess())
        return 2;
    reader::warmCore();
    using readers::WarmLanguages;
    const int status = reader::serve(
        reader::socketNumber,
        {.work = reader::answerQuestion,
         .loadReaders = reader::loadReaders,
         .warmRecognition =
             [](const auto& languages) { reader::warmRecognition(languages, WarmLanguages::first); },
         .warmOtherLanguages =
             [](const auto& languages) { reader::warmRecognition(languages, WarmLanguages::all); }});
    reader::leave(status);
}
