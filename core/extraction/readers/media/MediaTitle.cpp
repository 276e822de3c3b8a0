#include "core/extraction/readers/media/MediaTitle.h"

#include "core/extraction/readers/DocumentText.h"
#include "core/files/FileName.h"
#include "core/naming/GenericNameDetector.h"
#include "core/support/Unicode.h"

#include <algorithm>
#include <array>
#include <string_view>

namespace vesto::readers {
namespace {

// A word for «piece» with a number at most.
bool isTrackNumber(std::string_view title) {
    constexpr std::array<std::string_view, 5> words{"track", "piste", "audiotrack", "titre", "spur"};
    const std::string folded = unicode::folded(title);
    return std::ranges::any_of(words, [&folded](std::string_view word) {
        return folded.starts_with(word) &&
               folded.find_first_not_of(" _-#0123456789", word.size()) == std::string::npos;
    });
}

} // namespace

std::optional<std::string> usableMediaTitle(const MediaTags& tags) {
    if (!tags.title.has_value())
        return std::nullopt;
    std::optional<std::string> title = usableTitle(*tags.title);
    if (!title.has_value() || isTrackNumber(*title))
        return std::nullopt;
    if (tags.artist.has_value() || tags.album.has_value())
        return title;
    return GenericNameDetector::isGeneric(baseNameOf(*title)) ? std::nullopt : title;
}

} // namespace vesto::readers
