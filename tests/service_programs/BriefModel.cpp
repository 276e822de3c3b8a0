// The host of the language model, one that leaves after so many milliseconds without work:  brief_model
// NUMBER
#include "services/model/Host.h"
#include "services/model/Library.h"

#include <unistd.h>

#include <cstdlib>

int main(int count, char** words) {
    using namespace vesto;
    if (count != 2 || !model::prepareHost() || !model::loadEngine())
        ::_exit(2);
    ::_exit(model::serve(model::socketNumber,
                         {.parent = ::getppid(), .idle = std::chrono::milliseconds(std::atoi(words[1]))}));
}
