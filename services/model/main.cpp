#include "services/model/Host.h"
#include "services/model/Library.h"

#include <unistd.h>

#ifdef VESTO_SANITIZED
/// The engine is not built with sanitizers: what it does with memory is none of the thread sanitizer's
/// business.
extern "C" const char* __tsan_default_options();
extern "C" const char* __tsan_default_options() {
    return "ignore_noninstrumented_modules=1";
}
#endif

int main() {
    using namespace vesto;
    const pid_t parent = ::getppid();
    if (!model::prepareHost())
        return 2;
    if (!model::loadEngine())
        ::_exit(3);
    ::_exit(model::serve(model::socketNumber, {.parent = parent}));
}
