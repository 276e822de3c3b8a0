#include "services/model/ThreadChoice.h"

#include <gtest/gtest.h>

#include <chrono>
#include <vector>

namespace vesto::model {
namespace {

using std::chrono::milliseconds;

TEST(ThreadChoice, TakesTheFasterAndStopsWhenItIsStopped) {
    struct Row {
        const char* what;
        int all;
        std::vector<int> took; // milliseconds, one for each time that it comes to its end
        std::optional<int> choice;
        std::vector<int> tried;
    };
    const Row rows[] = {
        {"one processor", 1, {}, 1, {}},
        {"all are faster", 4, {900, 20, 50}, 4, {4, 4, 1}},
        {"one is faster, busy neighbours", 4, {900, 80, 50}, 1, {4, 4, 1}},
        {"only the first, cold time of all is slower", 4, {900, 20, 21}, 4, {4, 4, 1}},
        {"alike", 4, {20, 20, 20}, 4, {4, 4, 1}},
        {"stopped at once", 4, {}, {}, {4}},
        {"stopped before anything counts", 4, {20}, {}, {4, 4}},
        {"stopped before one thread was done", 4, {20, 20}, 4, {4, 4, 1}},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.what);
        std::vector<int> tried;
        const auto choice = fasterThreads(row.all, [&](int threads) -> std::optional<milliseconds> {
            tried.push_back(threads);
            if (tried.size() > row.took.size())
                return std::nullopt;
            return milliseconds(row.took[tried.size() - 1]);
        });
        EXPECT_EQ(choice, row.choice);
        EXPECT_EQ(tried, row.tried);
    }
}

} // namespace
} // namespace vesto::model
