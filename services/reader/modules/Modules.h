#pragma once
#include "core/extraction/Route.h"
#include "core/extraction/readers/pictures/TextRecognition.h"

#include <string>
#include <vector>

/// The modules with the readers of pictures and recordings, loaded by the server at first need: their
/// libraries take five times as long to load as everything else together.
namespace vesto::reader {

/// Runs in the server: loads what the files of a route always need. A module that cannot be loaded leaves its
/// files unreadable. Starts no thread. Cheap once done.
void loadReaders(Route route);

/// Runs in the server: loads the readers of pictures and what recognises text.
void warmRecognition(const std::vector<std::string>& languages, readers::WarmLanguages which);

/// Runs in a child, at its end: whether it had to load languages that were not loaded before.
[[nodiscard]] bool neededOtherLanguages();

} // namespace vesto::reader
