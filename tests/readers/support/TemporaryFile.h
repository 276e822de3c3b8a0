#pragma once
#include "core/support/UniqueFd.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <string>
#include <string_view>

namespace vesto::tests {

/// An open file without a name that holds `content`; gone with the descriptor.
inline UniqueFd temporaryFile(std::string_view content) {
    std::string pattern = ::testing::TempDir() + "vesto-XXXXXX";
    UniqueFd file(::mkstemp(pattern.data()));
    EXPECT_GE(file.get(), 0);
    ::unlink(pattern.c_str());
    EXPECT_EQ(::pwrite(file.get(), content.data(), content.size(), 0), static_cast<ssize_t>(content.size()));
    return file;
}

} // namespace vesto::tests
