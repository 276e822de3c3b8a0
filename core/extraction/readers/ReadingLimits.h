#pragma once
#include <cstddef>

/// A reader stops once it has what naming can use.
namespace vesto::readers {

inline constexpr int maxPages = 10;
inline constexpr std::size_t maxCharacters = 20'000; // scalars of text, all lines together

} // namespace vesto::readers
