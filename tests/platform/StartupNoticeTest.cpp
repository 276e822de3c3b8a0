#include "app/platform/StartupNotice.h"

#include <gtest/gtest.h>

#include <utility>

namespace vesto {
namespace {

TEST(StartupNoticeTest, FindsTheTimeOfTheClick) {
    for (const auto& [token, time] : {std::pair{"marie-1234-files-0_TIME90210", 90210U},
                                      {"a_TIME5_TIME4294967295", 4294967295U},
                                      {"a_TIME4294967296", 0U},
                                      {"a_TIME", 0U},
                                      {"a_TIME12x", 0U},
                                      {"", 0U}})
        EXPECT_EQ(StartupNotice::timeOf(token), time) << token;
}

} // namespace
} // namespace vesto
