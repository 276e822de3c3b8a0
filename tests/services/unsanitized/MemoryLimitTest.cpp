#include "services/client/RemoteReader.h"
#include "tests/services/support/Service.h"

namespace vesto::tests {
namespace {

TEST(Jail, MemoryEndsAtOneGibibyte) {
    RemoteReader reader(serviceSettings(VESTO_JAILED_PROBE));
    const int mebibytes = std::atoi(firstLine(reader, "memory").c_str());
    EXPECT_GT(mebibytes, 300); // libraries take their part
    EXPECT_LT(mebibytes, 1024);
    EXPECT_EQ(firstLine(reader, "x"), "cold");
}

} // namespace
} // namespace vesto::tests
