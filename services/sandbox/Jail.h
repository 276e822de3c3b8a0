#pragma once
#include "services/sandbox/Resources.h"
#include "services/sandbox/SystemCalls.h"

#include <linux/filter.h>
#include <sys/types.h>

#include <span>
#include <string>
#include <vector>

namespace vesto::sandbox {

/// Shuts processes in. Made once, by the parent, so that a child has only to close the door behind itself.
class Jail {
public:
    /// Of all paths the processes may read what lies below `readablePaths`.
    explicit Jail(const std::vector<std::string>& readablePaths, Inmate inmate = Inmate::reader);
    ~Jail();
    Jail(const Jail&) = delete;
    Jail& operator=(const Jail&) = delete;

    /// Whether this kernel filters system calls; without that nobody can enter.
    [[nodiscard]] bool filtersCalls() const { return !m_filter.empty(); }

    /// Whether it restricts paths as well.
    [[nodiscard]] bool restrictsPaths() const { return m_ruleset >= 0; }

    /// Shuts this process in, for good; called by a child right after its fork. Of its descriptors only
    /// standard input, output and error and those of `kept` (sorted) stay open. It dies with `parent`. False
    /// where any of it failed: the process must then end without having looked at the file.
    [[nodiscard]] bool enter(const Resources& resources, std::span<const int> kept, pid_t parent) const;

private:
    std::vector<sock_filter> m_filter;
    int m_ruleset; // a descriptor, or negative
};

} // namespace vesto::sandbox
