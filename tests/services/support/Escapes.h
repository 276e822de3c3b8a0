#pragma once
#include <span>
#include <string_view>

/// Ways out of the jail. Each is tried in the jail, where none may lead anywhere, and most also outside,
/// where they must: a try that fails everywhere would prove nothing.
namespace vesto::tests {

struct Escape {
    std::string_view name;
    /// 0 where it worked, else what the system said. `file` is the descriptor that was handed
    /// over. What it makes it takes back, so that it can be tried outside.
    int (*attempt)(int file);
    bool worksOutside; // for anybody, also in the usual containers
    int onlyErrno = 0; // the one right answer of the jail; 0: any error that means a refusal
};

[[nodiscard]] std::span<const Escape> escapes();

/// Whether an error says that it was not allowed, rather than that the try was a bad one.
[[nodiscard]] bool meansRefused(int error);

} // namespace vesto::tests
