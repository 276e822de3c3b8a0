#pragma once
#include "core/support/Unicode.h"

#include <cstddef>
#include <string_view>

namespace vesto {

/// The byte offset where the scalars that `isSkipped` holds for end, from `offset` on.
template <typename Predicate>
std::size_t skipForward(std::string_view text, std::size_t offset, Predicate isSkipped) {
    while (offset < text.size()) {
        const unicode::Scalar scalar = unicode::scalarAt(text, offset);
        if (!isSkipped(scalar.value))
            break;
        offset += scalar.size;
    }
    return offset;
}

/// The byte offset where the scalars before `offset` that `isSkipped` holds for begin.
template <typename Predicate>
std::size_t skipBackward(std::string_view text, std::size_t offset, Predicate isSkipped) {
    while (offset > 0) {
        const unicode::Scalar scalar = unicode::scalarBefore(text, offset);
        if (!isSkipped(scalar.value))
            break;
        offset -= scalar.size;
    }
    return offset;
}

template <typename Predicate> std::string_view withoutFirst(std::string_view text, Predicate isDropped) {
    return text.substr(skipForward(text, 0, isDropped));
}

template <typename Predicate> std::string_view withoutLast(std::string_view text, Predicate isDropped) {
    return text.substr(0, skipBackward(text, text.size(), isDropped));
}

} // namespace vesto
