#pragma once
#include <string>
#include <vector>

namespace vesto::readers {

/// A word as the engine that recognises text reports it.
struct RecognizedWord {
    std::string text{};   // UTF-8
    float confidence = 0; // 0 to 100
};

/// A line as recognised; what stands in it that nobody could be sure of as well.
struct RecognizedLine {
    std::vector<RecognizedWord> words{};
    int left = 0, top = 0, right = 0, bottom = 0; // pixels; where it stands in the picture

    /// The mean of its words, each as weighty as it is long; 0 without any.
    [[nodiscard]] float confidence() const;
};

/// The words of `line` that can be trusted, with blanks between; empty where the line is noise: a texture, an
/// icon, a rule.
[[nodiscard]] std::string trustedText(const RecognizedLine& line);

/// Whether a line holds enough to be text that was merely read badly.
[[nodiscard]] bool looksLikeText(const RecognizedLine& line);

} // namespace vesto::readers
