#include "core/extraction/readers/pictures/PictureContent.h"
#include "services/reader/Server.h"
#include "services/reader/Start.h"
#include "services/reader/Work.h"

int main() {
    using namespace vesto;
    if (!reader::prepareProcess())
        return 2;
    reader::warmCore();
    const int status = reader::serve(reader::socketNumber, {.work = reader::answerQuestion,
                                                            .warmRecognition = readers::warmTextRecognition});
    reader::leave(status);
}
