#pragma once
#include <gtest/gtest.h>
#include <sqlite3.h>

#include <filesystem>

namespace vesto {

/// Runs statements on the store's file as another program might.
inline void tamper(const std::filesystem::path& file, const char* statements) {
    sqlite3* handle = nullptr;
    ASSERT_EQ(sqlite3_open(file.c_str(), &handle), SQLITE_OK);
    EXPECT_EQ(sqlite3_exec(handle, statements, nullptr, nullptr, nullptr), SQLITE_OK)
        << sqlite3_errmsg(handle);
    sqlite3_close(handle);
}

} // namespace vesto
