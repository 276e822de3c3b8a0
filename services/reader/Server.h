#pragma once
#include "services/ipc/Question.h"
#include "services/ipc/ReadingLimits.h"

#include <chrono>
#include <cstddef>
#include <functional>
#include <string>
#include <vector>

/// The fork server: never parses, has one thread, forks a jailed child for each file.
namespace vesto::reader {

struct ServerSettings {
    /// Runs in the child, shut in already: reads `file` and writes the answer into `answer`. `warm`: the
    /// recognition of text has been loaded before the fork. Gives the child's exit status.
    std::function<int(const ipc::Question&, int file, int answer, bool warm)> work;
    /// Runs in the server: loads what the files of a route always need. May start no thread.
    std::function<void(Route)> loadReaders;
    /// Runs in the server: loads the recognition of text for the first of these languages (BCP 47), or for
    /// the others too. May start no thread.
    std::function<void(const std::vector<std::string>& languages)> warmRecognition, warmOtherLanguages;
    std::function<ipc::ReadingLimits(Route)> limits = ipc::limitsOf;
    std::chrono::milliseconds idle = std::chrono::minutes(5); // after which the server leaves
    std::size_t readingsAtOnce = ipc::readingsAtOnce();
};

/// The exit status of a child that met a picture or text to recognise while that was not loaded: it is loaded
/// then, and the file read again.
inline constexpr int coldStatus = 77;

/// The exit status of a child that has answered and had to load more languages than were loaded: the next
/// ones find them.
inline constexpr int otherLanguagesStatus = 76;

/// Greets, then answers questions until the other side is gone or nothing was asked for a while. Gives the
/// exit status of the process.
[[nodiscard]] int serve(int socket, const ServerSettings& settings);

} // namespace vesto::reader
