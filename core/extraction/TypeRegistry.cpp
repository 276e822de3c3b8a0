#include "core/extraction/TypeRegistry.h"

#include "core/extraction/TypeTable.h"
#include "core/support/Unicode.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <span>
#include <unordered_map>

namespace vesto::TypeRegistry {
namespace {

using namespace std::string_view_literals;

/// Takes the first word of `words` away; empty when none is left.
std::string_view nextWord(std::string_view& words) {
    const std::size_t end = std::min(words.find(' '), words.size());
    const std::string_view word = words.substr(0, end);
    words.remove_prefix(std::min(end + 1, words.size()));
    return word;
}

struct Index {
    std::unordered_map<std::string_view, const TypeRow*> byIdentifier;
    std::unordered_map<std::string_view, const TypeRow*> byExtension;

    Index() {
        for (const TypeRow& row : typeTable()) {
            byIdentifier.emplace(row.identifier, &row);
            std::string_view extensions = row.extensions;
            while (!extensions.empty())
                byExtension.emplace(nextWord(extensions), &row);
        }
    }
};

const Index& index() {
    static const Index built;
    return built;
}

const TypeRow* rowOfIdentifier(std::string_view identifier) {
    const auto& rows = index().byIdentifier;
    const auto found = rows.find(identifier);
    return found == rows.end() ? nullptr : found->second;
}

bool rowConforms(std::string_view from, std::string_view to) {
    if (from == to)
        return true;
    const TypeRow* row = rowOfIdentifier(from);
    if (row == nullptr)
        return false;
    std::string_view parents = row->parents;
    while (!parents.empty()) {
        if (rowConforms(nextWord(parents), to))
            return true;
    }
    return false;
}

constexpr std::size_t longestKnownExtension = 16; // bytes, at least; none in the table is longer

const TypeRow* rowOfExtension(std::string_view extension) {
    if (extension.size() > longestKnownExtension)
        return nullptr;
    std::array<char, longestKnownExtension> lower{}; // every known extension is ASCII
    std::ranges::transform(extension, lower.begin(), [](char c) {
        return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
    });
    const auto& rows = index().byExtension;
    const auto found = rows.find(std::string_view(lower.data(), extension.size()));
    return found == rows.end() ? nullptr : found->second;
}

struct Signature {
    std::string_view identifier;
    std::size_t offset;
    std::string_view bytes;
    std::size_t secondOffset = 0;
    std::string_view secondBytes = {};
};

// In order: a more particular one stands before the general one that it shares its bytes with.
constexpr Signature signatures[] = {
    {"com.adobe.pdf", 0, "%PDF-"sv},
    {"public.png", 0, "\x89PNG\r\n\x1A\n"sv},
    {"public.jpeg", 0, "\xFF\xD8\xFF"sv},
    {"com.compuserve.gif", 0, "GIF87a"sv},
    {"com.compuserve.gif", 0, "GIF89a"sv},
    {"com.canon.raw-image", 0, "II*\0"sv, 8, "CR"sv},
    {"public.tiff", 0, "II*\0"sv},
    {"public.tiff", 0, "MM\0*"sv},
    {"com.microsoft.bmp", 0, "BM"sv, 6, "\0\0\0\0"sv},
    {"org.webmproject.webp", 0, "RIFF"sv, 8, "WEBP"sv},
    {"com.microsoft.waveform-audio", 0, "RIFF"sv, 8, "WAVE"sv},
    {"public.avi", 0, "RIFF"sv, 8, "AVI "sv},
    {"public.rtf", 0, "{\\rtf"sv},
    {"public.mp3", 0, "ID3"sv},
    {"org.xiph.flac", 0, "fLaC"sv},
    {"org.xiph.ogg-audio", 0, "OggS"sv},
    {"public.aiff-audio", 0, "FORM"sv, 8, "AIFF"sv},
    {"org.matroska.mkv", 0, "\x1A\x45\xDF\xA3"sv},
    // Every office document with a ZIP inside looks like this; which one, sixteen bytes do not tell.
    {"public.zip-archive", 0, "PK\x03\x04"sv},
};

struct Brand {
    std::string_view name; // four bytes
    std::string_view identifier;
};

// The major brand of an ISO base media file, which stands after "ftyp".
constexpr Brand brands[] = {
    {"heic", "public.heic"},         {"heix", "public.heic"},
    {"heim", "public.heic"},         {"heis", "public.heic"},
    {"hevc", "public.heic"},         {"hevx", "public.heic"},
    {"mif1", "public.heif"},         {"msf1", "public.heif"},
    {"avif", "public.avif"},         {"avis", "public.avif"},
    {"crx ", "com.canon.raw-image"}, {"M4A ", "com.apple.m4a-audio"},
    {"M4B ", "com.apple.m4a-audio"}, {"M4V ", "com.apple.m4v-video"},
    {"M4VH", "com.apple.m4v-video"}, {"qt  ", "com.apple.quicktime-movie"},
    {"isom", "public.mpeg-4"},       {"iso2", "public.mpeg-4"},
    {"iso4", "public.mpeg-4"},       {"iso5", "public.mpeg-4"},
    {"iso6", "public.mpeg-4"},       {"mp41", "public.mpeg-4"},
    {"mp42", "public.mpeg-4"},       {"avc1", "public.mpeg-4"},
    {"dash", "public.mpeg-4"},       {"MSNV", "public.mpeg-4"},
    {"XAVC", "public.mpeg-4"},       {"3gp4", "public.3gpp"},
    {"3gp5", "public.3gpp"},         {"3gp6", "public.3gpp"},
    {"3g2a", "public.3gpp2"},
};

bool holdsAt(std::string_view text, std::size_t offset, std::string_view expected) {
    return offset <= text.size() && text.substr(offset).starts_with(expected);
}

} // namespace

std::optional<ContentType> typeOfExtension(std::string_view extension) {
    if (extension.empty())
        return std::nullopt;
    if (const TypeRow* row = rowOfExtension(extension))
        return ContentType{std::string(row->identifier)};
    return ContentType{"dyn." + unicode::lowercase(extension)};
}

std::optional<ContentType> typeOfSignature(std::string_view firstBytes) {
    for (const Signature& signature : signatures) {
        if (holdsAt(firstBytes, signature.offset, signature.bytes) &&
            holdsAt(firstBytes, signature.secondOffset, signature.secondBytes))
            return ContentType{std::string(signature.identifier)};
    }
    if (holdsAt(firstBytes, 4, "ftyp")) {
        for (const Brand& brand : brands) {
            if (holdsAt(firstBytes, 8, brand.name))
                return ContentType{std::string(brand.identifier)};
        }
    }
    return std::nullopt;
}

std::string_view identifierOfExtension(std::string_view extension) {
    const TypeRow* row = rowOfExtension(extension);
    return row == nullptr ? std::string_view() : row->identifier;
}

std::vector<std::string_view> lineage(std::string_view identifier) {
    std::vector<std::string_view> found;
    if (const TypeRow* row = rowOfIdentifier(identifier))
        found.push_back(row->identifier);
    for (std::size_t i = 0; i < found.size(); ++i) {
        std::string_view parents = rowOfIdentifier(found[i])->parents;
        while (!parents.empty()) {
            const std::string_view parent = nextWord(parents);
            if (std::ranges::find(found, parent) == found.end())
                found.push_back(parent);
        }
    }
    return found;
}

bool conforms(const ContentType& type, std::string_view identifier) {
    return rowConforms(type.identifier, identifier);
}

} // namespace vesto::TypeRegistry
