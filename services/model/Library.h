#pragma once
#include <string>

namespace vesto::model {

/// Loads the engine's library for this machine's processor and makes it silent. Call it once, before the jail
/// is entered. False where nothing here can run a model.
[[nodiscard]] bool loadEngine();

/// Names and versions.
[[nodiscard]] std::string engineVersion();

} // namespace vesto::model
