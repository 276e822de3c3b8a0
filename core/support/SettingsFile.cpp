#include "core/support/SettingsFile.h"

#include "core/support/OwnFile.h"
#include "core/support/Unicode.h"

#include <cerrno>
#include <charconv>
#include <vector>

namespace vesto {
namespace {

constexpr std::size_t maxBytes = 1 << 20;
constexpr std::string_view group = "[General]";

std::string_view trimmed(std::string_view text) {
    return unicode::trimmedWhiteSpace(text);
}

std::vector<std::string_view> linesOf(std::string_view content) {
    std::vector<std::string_view> lines;
    while (!content.empty()) {
        const std::size_t end = content.find('\n');
        lines.push_back(content.substr(0, end));
        content.remove_prefix(end == std::string_view::npos ? content.size() : end + 1);
    }
    return lines;
}

/// What stands behind the first "=" of a line that is about `key`.
std::optional<std::string_view> rawValueOf(std::string_view line, std::string_view key) {
    const std::size_t equals = line.find('=');
    if (equals == std::string_view::npos || trimmed(line.substr(0, equals)) != key)
        return std::nullopt;
    return trimmed(line.substr(equals + 1));
}

bool isGroup(std::string_view line) {
    return trimmed(line).starts_with('[');
}

/// The scalar of "\x" and hexadecimal digits, which begin at `offset`; `offset` goes behind them.
char32_t hexScalar(std::string_view raw, std::size_t& offset) {
    unsigned value = 0;
    const char* begin = raw.data() + offset;
    const auto [end, error] = std::from_chars(begin, raw.data() + raw.size(), value, 16);
    offset += static_cast<std::size_t>(end - begin);
    const bool isScalar = error == std::errc() && value < 0x110000 && (value < 0xD800 || value > 0xDFFF);
    return isScalar ? char32_t{value} : unicode::replacementCharacter;
}

std::string unescaped(std::string_view raw) {
    constexpr std::string_view letters = "abfnrtv0";
    constexpr std::string_view meanings("\a\b\f\n\r\t\v\0", 8);
    std::string result;
    bool isQuoted = false;
    std::size_t kept = 0; // blanks behind that end it are dropped
    for (std::size_t i = 0; i < raw.size();) {
        const char letter = raw[i++];
        if (letter == '"') {
            isQuoted = !isQuoted;
            kept = result.size();
            continue;
        }
        if (letter == ';' && !isQuoted)
            break; // a comment
        if (letter != '\\' || i == raw.size()) {
            result += letter;
            kept = letter == ' ' && !isQuoted ? kept : result.size();
            continue;
        }
        const char escaped = raw[i++];
        if (escaped == 'x')
            unicode::append(result, hexScalar(raw, i));
        else if (const std::size_t at = letters.find(escaped); at != std::string_view::npos)
            result += meanings[at];
        else
            result += escaped;
        kept = result.size();
    }
    result.resize(kept);
    // Qt marks a text that begins with "@" by a second one.
    return result.starts_with("@@") ? result.substr(1) : result;
}

/// Always in quotes, so that no character but two means anything.
std::string escaped(std::string_view value) {
    std::string result = value.starts_with('@') ? "\"@" : "\"";
    for (const char letter : value) {
        if (letter == '\n')
            result += "\\n";
        else if (letter == '\r')
            result += "\\r";
        else if (letter == '\0')
            result += "\\0";
        else if (letter == '"' || letter == '\\')
            (result += '\\') += letter;
        else
            result += letter;
    }
    return result + '"';
}

} // namespace

std::optional<std::string> SettingsFile::value(std::string_view key) const {
    const auto content = readOwnFile(m_path, maxBytes);
    if (!content)
        return std::nullopt;
    std::optional<std::string> found;
    bool isOurs = true; // what stands before every group counts as well
    for (const std::string_view line : linesOf(*content)) {
        if (isGroup(line))
            isOurs = trimmed(line) == group;
        else if (const auto raw = rawValueOf(line, key); raw && isOurs)
            found = unescaped(*raw); // the last one counts
    }
    return found;
}

bool SettingsFile::flag(std::string_view key, bool otherwise) const {
    const auto found = value(key);
    if (found == "true" || found == "false")
        return found == "true";
    return otherwise;
}

std::expected<void, int> SettingsFile::set(std::string_view key,
                                           const std::optional<std::string>& value) const {
    auto content = readOwnFile(m_path, maxBytes);
    if (!content && content.error() != ENOENT)
        return std::unexpected(content.error());
    const std::string wanted = value ? std::string(key) + '=' + escaped(*value) + '\n' : std::string();
    std::string result;
    bool isOurs = true;
    bool isWritten = wanted.empty();
    const std::string old = content ? *std::move(content) : std::string();
    for (const std::string_view line : linesOf(old)) {
        if (isGroup(line))
            isOurs = trimmed(line) == group;
        const bool isReplaced = isOurs && !isGroup(line) && rawValueOf(line, key);
        if (!isReplaced)
            (result += line) += '\n';
        // Where its group begins, so that an old place further down needs no second look.
        if (isOurs && isGroup(line) && !isWritten) {
            result += wanted;
            isWritten = true;
        }
    }
    if (!isWritten)
        result += std::string(group) + '\n' + wanted;
    if (result == old)
        return {};
    return replaceOwnFile(m_path, result);
}

} // namespace vesto
