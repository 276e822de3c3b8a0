#pragma once
#include <iosfwd>

namespace vesto::cli {

/// What a run of `vesto` ends with.
enum class ExitStatus : int {
    done = 0,
    notAllDone = 1, // something was refused, failed, or there was nothing to propose
    wrongUsage = 2,
};

/// The whole command line: reads the words, does what they say, answers with the exit status. Results go to
/// `out`, complaints about the words to `err`.
int run(int argc, char** argv, std::ostream& out, std::ostream& err);

} // namespace vesto::cli
