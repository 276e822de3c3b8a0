#pragma once

namespace vesto {

/// Where a program is started with a standard stream closed, its number would go to the next thing that is
/// opened, and what is printed into that. Not open for writing: a result that cannot be written is still
/// noticed. First thing in a program.
void fillStandardStreams();

} // namespace vesto
