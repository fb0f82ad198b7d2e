#include "core/status.h"

#include <cstring>
#include <ctime>
#include <thread>

#include "core/random.h"
#include "support/compare.h"
#include "support/recorder.h"

namespace veldane::test {

TEST(StatusTest, DeliversProgressUpToOne) {
    const std::pair<float, bool> cases[] = {{0.0f, true}, {1.0f, true},        {-1.0f, true},
                                            {nan, true},  {1.0000001f, false}, {infinity, false}};
    for (const auto& [progress, delivered] : cases) {
        Recorder recorder;
        EXPECT_EQ(status().report(progress, "Working"), delivered) << progress;
        EXPECT_EQ(recorder.count("Working"), delivered ? 1 : 0) << progress;
        const float received = delivered ? recorder.reports.at(0).progress : progress;
        EXPECT_TRUE(sameBits(matrixOf({{received}}), matrixOf({{progress}})));
    }
    Recorder recorder;
    EXPECT_TRUE(status().reportError("Insufficient data for analysis"));
    EXPECT_EQ(recorder.reports.at(0).progress, -1.0f);
}

TEST(StatusTest, ReachesTheLastRegistrationAlone) {
    char buffer[VELDANE_MESSAGE_SIZE] = "mine";
    init_callback(buffer, nullptr);
    EXPECT_FALSE(status().report(0.5f, "lost") || status().reportError("lost"));
    EXPECT_STREQ(buffer, "mine");
    init_callback(nullptr, [](float, char* message) { EXPECT_EQ(message, nullptr); });
    EXPECT_TRUE(status().report(0.0f, "no buffer"));
    Recorder earlier;
    {
        Recorder later;
        EXPECT_TRUE(status().report(0.0f, "text"));
        EXPECT_STREQ(later.buffer, "text");
    }
    EXPECT_FALSE(status().report(0.0f, "lost"));
    EXPECT_TRUE(earlier.reports.empty());
}

TEST(StatusTest, MessageStaysWithinTheDocumentedSize) {
    for (const size_t length : {0, 254, 255, 256, 1000}) {
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

TEST(RandomTest, FollowsTheRecurrenceFromTheThreadsState) {
    // The sequence from the state 1, which every thread starts with.
    const int expected[] = {41, 18467, 6334, 26500, 19169, 15724, 11478, 29358, 26962, 24464};
    std::thread([&] {
        for (const int number : expected) EXPECT_EQ(nextRandom(), number);
    }).join();
    uint64_t state = 0xFFFFFFFF;
    seedRandom(0xFFFFFFFF);
    for (int i = 0; i < 1000; ++i) {
        state = (state * 214013 + 2531011) % (uint64_t{1} << 32);
        ASSERT_EQ(nextRandom(), static_cast<int>(state / 65536 % 32768));
    }
}

TEST(RandomTest, RegistrationSeedsWithTheSecond) {
    const auto firstOf = [](std::time_t second) {
        seedRandom(static_cast<uint32_t>(second));
        return nextRandom();
    };
    const std::time_t before = std::time(nullptr);
    init_callback(nullptr, nullptr);
    const int first = nextRandom();
    EXPECT_TRUE(first == firstOf(before) || first == firstOf(before + 1));
}

}  // namespace veldane::test
