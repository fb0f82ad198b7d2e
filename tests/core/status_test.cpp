#include "core/status.h"

#include <cstring>
#include <ctime>
#include <thread>

#include "core/random.h"
#include "support/compare.h"
#include "support/recorder.h"

namespace veldane::test {

TEST(StatusTest, DeliversProgressUpToOneToTheLastRegistration) {
    const Recorder earlier;
    {
        const Recorder later;
        EXPECT_FALSE(status().report(1.0000001f, "lost") || status().report(infinity, "lost"));
        EXPECT_TRUE(status().report(1.0f, "text") && status().report(nan, "text"));
        EXPECT_TRUE(status().reportError("wrong"));
        ASSERT_TRUE(later.reports.size() == 3 && isMissing(later.reports[1].progress));
        EXPECT_EQ(later.reports[2].progress, -1.0f);
        EXPECT_STREQ(later.buffer, "wrong");
    }
    EXPECT_FALSE(status().report(0.0f, "lost") || status().reportError("lost"));
    EXPECT_TRUE(earlier.reports.empty());
    init_callback(nullptr, [](float, char* message) { EXPECT_EQ(message, nullptr); });
    EXPECT_TRUE(status().report(0.0f, "no buffer"));
}

TEST(StatusTest, MessageStaysWithinTheDocumentedSize) {
    for (const size_t length : {0, 255, 256}) {
        char buffer[VELDANE_MESSAGE_SIZE + 1];
        std::memset(buffer, '#', sizeof buffer);
        const std::string text(length, 'x');
        init_callback(buffer, [](float, char*) {});
        EXPECT_TRUE(status().report(0.0f, text));
        EXPECT_EQ(buffer, text.substr(0, 255));
        EXPECT_EQ(buffer[VELDANE_MESSAGE_SIZE], '#');
        EXPECT_EQ(formatMessage("%s%d", text.c_str(), 7), (text + "7").substr(0, 255));
    }
    init_callback(nullptr, nullptr);
}

TEST(RandomTest, FollowsTheKnownSequenceFromTheThreadsState) {
    // The sequence from the state 1, which every thread starts with.
    const int expected[] = {41, 18467, 6334, 26500, 19169, 15724, 11478, 29358, 26962, 24464};
    std::thread([&] {
        for (const int number : expected) EXPECT_EQ(nextRandom(), number);
        // A registration seeds with the second.
        const uint32_t before = static_cast<uint32_t>(std::time(nullptr));
        init_callback(nullptr, nullptr);
        const int first = nextRandom();
        seedRandom(before);
        const int now = nextRandom();
        seedRandom(before + 1);
        EXPECT_TRUE(first == now || first == nextRandom());
    }).join();
}

}  // namespace veldane::test
