#pragma once

namespace vesto {

/// Why a model, of language or of speech, cannot be used.
enum class ModelObstacle {
    none,
    noFile,  // or one that may not be read
    refused, // by the engine: no model, cut off, or of a kind it does not know
    memory,
    noEngine, // Vesto was built without it
    noJail,   // the system does not let it be shut in
    dies,     // its process ended, or hung
};

} // namespace vesto
