#include "core/files/FileName.h"

#include "core/support/Unicode.h"

#include <string.h>

namespace vesto {
namespace {

std::string_view withoutTrailingSlashes(std::string_view path) {
    while (path.size() > 1 && path.back() == '/')
        path.remove_suffix(1);
    return path;
}

std::size_t offsetIn(std::string_view text, const void* place) {
    return static_cast<std::size_t>(static_cast<const char*>(place) - text.data());
}

} // namespace

std::string_view lastComponentOf(const std::filesystem::path& path) {
    const std::string_view text = withoutTrailingSlashes(path.native());
    const void* slash = ::memrchr(text.data(), '/', text.size()); // rfind goes byte by byte
    return slash == nullptr ? text : text.substr(offsetIn(text, slash) + 1);
}

std::filesystem::path folderOf(const std::filesystem::path& path) {
    const std::string_view text = withoutTrailingSlashes(path.native());
    const auto slash = text.rfind('/');
    if (slash == std::string_view::npos)
        return ".";
    return std::string(slash == 0 ? "/" : withoutTrailingSlashes(text.substr(0, slash)));
}

std::filesystem::path siblingOf(const std::filesystem::path& path, std::string_view name) {
    const std::string_view text = withoutTrailingSlashes(path.native());
    std::string sibling(text.substr(0, text.rfind('/') + 1)); // npos + 1 is 0
    sibling += name;
    return sibling;
}

std::string_view extensionOf(std::string_view fileName) {
    const auto dot = fileName.rfind('.');
    if (dot == std::string_view::npos || dot == 0)
        return {};
    const std::string_view extension = fileName.substr(dot + 1);
    for (std::size_t at = 0; at < extension.size();) {
        const char byte = extension[at];
        if (byte == ' ' || (byte >= '\t' && byte <= '\r'))
            return {};
        if (static_cast<unsigned char>(byte) < 0x80) {
            ++at; // most extensions need no look into the tables
            continue;
        }
        const auto scalar = unicode::scalarAt(extension, at);
        if (unicode::isWhiteSpace(scalar.value))
            return {};
        at += scalar.size;
    }
    return extension;
}

std::string_view baseNameOf(std::string_view fileName) {
    const std::string_view extension = extensionOf(fileName);
    if (!extension.empty())
        fileName.remove_suffix(extension.size() + 1);
    return fileName;
}

bool isSameName(std::string_view left, std::string_view right) {
    return left == right || unicode::caseFolded(left) == unicode::caseFolded(right);
}

} // namespace vesto
