#include "services/sandbox/Resources.h"

#include <sys/resource.h>

namespace vesto::sandbox {
namespace {

/// What an administrator allows less of stays as it is.
bool limit(decltype(RLIMIT_CORE) resource, rlim_t value) {
    rlimit now{};
    if (::getrlimit(resource, &now) != 0)
        return false;
    if (now.rlim_max != RLIM_INFINITY && now.rlim_max < value)
        value = now.rlim_max;
    const rlimit wanted{value, value};
    return ::setrlimit(resource, &wanted) == 0;
}

} // namespace

bool limitResources(const Resources& resources) {
    // RLIMIT_NPROC is left alone: it counts the user's threads everywhere, so that a busy desktop would break
    // the decoders that start threads. The filter of system calls keeps processes from being made.
    return limit(RLIMIT_CORE, 0) && limit(RLIMIT_FSIZE, 0) && limit(RLIMIT_MEMLOCK, 0) &&
           limit(RLIMIT_MSGQUEUE, 0) && limit(RLIMIT_NOFILE, resources.openFiles) &&
           (resources.processorTime.count() == 0 ||
            limit(RLIMIT_CPU, static_cast<rlim_t>(resources.processorTime.count()))) &&
           (resources.addressSpace == 0 || limit(RLIMIT_AS, resources.addressSpace));
}

} // namespace vesto::sandbox
