#pragma once
#include <string>

namespace vesto::model {

/// Loads the engine's library for this machine's processor and makes it silent. Call it once, before the jail
/// is entered. False where nothing here can run a model.
[[nodiscard]] bool loadEngine();

/// Whether the engine got less memory than it wanted since this was asked last: of that, only what it logs
/// tells.
[[nodiscard]] bool lackedMemory();

/// Names and versions.
[[nodiscard]] std::string engineVersion();

} // namespace vesto::model
