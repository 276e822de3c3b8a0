#include "core/files/FileURL.h"

#include <algorithm>
#include <system_error>

namespace vesto {
namespace {

constexpr std::string_view hexDigits = "0123456789ABCDEF";

bool staysPlain(char byte) {
    return (byte >= 'a' && byte <= 'z') || (byte >= 'A' && byte <= 'Z') || (byte >= '0' && byte <= '9') ||
           std::string_view("-._~/").find(byte) != std::string_view::npos;
}

char asciiLower(char byte) {
    return byte >= 'A' && byte <= 'Z' ? static_cast<char>(byte - 'A' + 'a') : byte;
}

/// Whether `text` starts with `prefix`, which is in lower case; letter case aside.
bool startsWithASCII(std::string_view text, std::string_view prefix) {
    return text.size() >= prefix.size() && std::equal(prefix.begin(), prefix.end(), text.begin(),
                                                      [](char a, char b) { return a == asciiLower(b); });
}

std::optional<unsigned> hexValue(char digit) {
    if (digit >= '0' && digit <= '9')
        return static_cast<unsigned>(digit - '0');
    const char lower = asciiLower(digit);
    if (lower >= 'a' && lower <= 'f')
        return static_cast<unsigned>(lower - 'a') + 10U;
    return std::nullopt;
}

} // namespace

std::string fileURL(const std::filesystem::path& path) {
    std::error_code ignored; // without a current folder a relative path stays what it is
    const std::filesystem::path absolute =
        path.is_absolute() ? path : std::filesystem::absolute(path, ignored);
    std::string url = "file://";
    for (const char byte : absolute.native()) {
        if (staysPlain(byte)) {
            url += byte;
            continue;
        }
        const auto value = static_cast<unsigned char>(byte);
        url += '%';
        url += hexDigits[value >> 4U];
        url += hexDigits[value & 15U];
    }
    return url;
}

std::optional<std::filesystem::path> pathOfFileURL(std::string_view url) {
    for (const std::string_view prefix : {"file://localhost/", "file:///"}) {
        if (!startsWithASCII(url, prefix))
            continue;
        url.remove_prefix(prefix.size() - 1);
        std::string path;
        for (std::size_t at = 0; at < url.size(); ++at) {
            char byte = url[at];
            if (byte == '?' || byte == '#')
                return std::nullopt;
            if (byte == '%') {
                const auto high = at + 2 < url.size() ? hexValue(url[at + 1]) : std::nullopt;
                const auto low = high ? hexValue(url[at + 2]) : std::nullopt;
                if (!low)
                    return std::nullopt;
                byte = static_cast<char>(static_cast<unsigned char>(*high << 4U | *low));
                at += 2;
            }
            if (byte == '\0')
                return std::nullopt;
            path += byte;
        }
        return path;
    }
    return std::nullopt;
}

} // namespace vesto
