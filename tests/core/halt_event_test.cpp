#include "core/halt_event.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <string>
#include <thread>

#include "veldane.h"

namespace veldane::test {
namespace {

bool polls(HaltEvent&& event) {
    return event.open() && event.poll();
}

std::shared_ptr<NamedEvent> eventOf(int processId) {
    return NamedEvent::open("HaltMorla" + std::to_string(processId));
}

/// Runs the body in a child process, which passes by true or by an exit with 0. Gives its id.
template <class Body>
int runChild(Body body) {
    const int id = fork();
    if (id == 0) _exit(body() ? 0 : 1);
    int state = 0;
    waitpid(id, &state, 0);
    EXPECT_TRUE(WIFEXITED(state) && WEXITSTATUS(state) == 0);
    return id;
}

/// Around each test an event is open, and no request is left behind.
class HaltEventTest : public testing::Test {
  protected:
    HaltEventTest() { outer.open(); }
    HaltEvent outer;
};

}  // namespace

TEST_F(HaltEventTest, SignalBeforeTheStartIsSeenOnce) {
    for (const int id : {0, static_cast<int>(getpid())}) {
        EXPECT_EQ(halt_computation(id), 0);
        EXPECT_TRUE(polls({}));
        EXPECT_FALSE(polls({}));
    }
    // The end of a function that never polls consumes the request.
    halt_computation(0);
    EXPECT_TRUE(HaltEvent().open());
    EXPECT_FALSE(outer.poll());
}

TEST_F(HaltEventTest, RequestSticksToWhoSawItUntilItCloses) {
    halt_computation(0);
    EXPECT_TRUE(outer.poll());
    EXPECT_TRUE(polls({}));
    EXPECT_TRUE(outer.poll());
    EXPECT_FALSE(polls({}));
    outer.close();
    EXPECT_FALSE(outer.poll());
    outer.open();
    EXPECT_FALSE(outer.poll());
}

TEST_F(HaltEventTest, AnotherThreadAndAnotherProcessMaySignal) {
    std::thread([] { halt_computation(0); }).join();
    EXPECT_TRUE(polls({}));
    EXPECT_FALSE(outer.poll());
    runChild([] { return halt_computation(getppid()) == 0; });
    EXPECT_TRUE(outer.poll());
}

TEST_F(HaltEventTest, ForkedChildHasAnEventOfItsOwn) {
    const int child = runChild([] { return halt_computation(0) == 0 && polls({}); });
    EXPECT_FALSE(outer.poll());
    eventOf(child)->remove();
    halt_computation(0);
    eventOf(runChild([] { return !polls({}); }))->remove();
    EXPECT_TRUE(outer.poll());
}

TEST_F(HaltEventTest, UnloadingRemovesTheOwnEventAndNoOther) {
    const int child = runChild([]() -> bool {
        halt_computation(0);
        std::exit(eventOf(getpid()) ? 0 : 1);
    });
    EXPECT_EQ(halt_computation(child), -1);
    EXPECT_EQ(halt_computation(-5), -1);
    runChild([]() -> bool { std::exit(0); });
    EXPECT_TRUE(eventOf(getpid()));
}

TEST_F(HaltEventTest, WithoutSharedMemoryNothingCanBeCancelled) {
    EXPECT_FALSE(NamedEvent::create("no/such/name"));
    runChild([] {
        const rlimit noFiles = {0, 0};
        setrlimit(RLIMIT_NOFILE, &noFiles);
        HaltEvent event;
        return halt_computation(0) == -1 && !event.open() && !event.poll();
    });
}

TEST(NamedEventTest, ReplacesWhatIsStaleAndMapsNothingForeign) {
    const std::string name = "veldane_test_" + std::to_string(getpid()), path = "/" + name;
    const auto stale = NamedEvent::create(name);
    stale->signal();
    const auto fresh = NamedEvent::create(name);
    EXPECT_FALSE(fresh->isSet());
    NamedEvent::open(name)->signal();
    EXPECT_TRUE(fresh->isSet());
    fresh->reset();
    EXPECT_TRUE(stale->isSet() && !fresh->isSet());
    fresh->remove();
    EXPECT_FALSE(NamedEvent::open(name));

    const int file = shm_open(path.c_str(), O_RDWR | O_CREAT | O_EXCL, 0600);
    EXPECT_FALSE(NamedEvent::open(name)) << "it has no size yet";
    EXPECT_EQ(ftruncate(file, 4096), 0);
    EXPECT_TRUE(NamedEvent::open(name));
    // Only root can give a file away.
    const bool given = fchown(file, geteuid() + 1, getegid()) == 0;
    EXPECT_EQ(NamedEvent::open(name) == nullptr, given);
    close(file);
    shm_unlink(path.c_str());
}

}  // namespace veldane::test
