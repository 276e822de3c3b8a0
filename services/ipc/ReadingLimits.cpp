#include "services/ipc/ReadingLimits.h"

#include <algorithm>
#include <thread>

namespace vesto::ipc {

ReadingLimits limitsOf(Route route) {
    ReadingLimits limits;
    switch (route) {
    case Route::audio:
        limits.time = std::chrono::seconds(20);
        break;
    case Route::video:
        limits.time = std::chrono::seconds(30);
        break;
    case Route::pdf:
    case Route::image:
    case Route::email:
    case Route::quickLook:
    case Route::document:
        break;
    }
#ifdef VESTO_SANITIZED
    limits.addressSpace = 0;
    limits.time *= 4;
#endif
    return limits;
}

std::size_t readingsAtOnce() {
    return std::clamp<std::size_t>(std::thread::hardware_concurrency(), 2, 8);
}

} // namespace vesto::ipc
