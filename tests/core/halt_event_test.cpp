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

bool polls() {
    HaltEvent event;
    return event.open() && event.poll();
}

/// Runs the body in a child process, which ends as a host does. Gives its id.
int runChild(bool (*body)()) {
    const int id = fork();
    if (id == 0) std::exit(body() ? 0 : 1);
    int state = 1;
    waitpid(id, &state, 0);
    EXPECT_EQ(state, 0);
    return id;
}

}  // namespace

TEST(HaltEventTest, RequestIsSeenOnceAndEndsWithWhoeverCloses) {
    HaltEvent outer;
    EXPECT_TRUE(outer.open());
    for (const int id : {0, static_cast<int>(getpid())}) {
        EXPECT_EQ(halt_computation(id), 0);
        EXPECT_TRUE(polls() && !polls());
    }
    // The end of a function that never polls consumes the request.
    halt_computation(0);
    EXPECT_TRUE(HaltEvent().open());
    EXPECT_FALSE(outer.poll());
    // It sticks to who saw it.
    halt_computation(0);
    EXPECT_TRUE(outer.poll() && polls() && outer.poll() && !polls());
    outer.close();
    EXPECT_TRUE(!outer.poll() && outer.open() && !outer.poll());
}

TEST(HaltEventTest, AnotherThreadAndProcessMaySignalAndEachHasItsEvent) {
    HaltEvent outer;
    EXPECT_TRUE(outer.open());
    std::thread([] { halt_computation(0); }).join();
    EXPECT_TRUE(polls() && !outer.poll());
    // A child has an event of its own, or none, and takes no other away at its end.
    const int child = runChild([] { return halt_computation(0) == 0 && polls(); });
    EXPECT_TRUE(halt_computation(child) == -1 && !outer.poll());
    runChild([] { return true; });
    runChild([]() -> bool {
        const rlimit noFiles = {0, 0};
        setrlimit(RLIMIT_NOFILE, &noFiles);
        _exit(halt_computation(0) == -1 && !HaltEvent().open() ? 0 : 1);
    });
    runChild([] { return halt_computation(getppid()) == 0 && !polls(); });
    EXPECT_TRUE(outer.poll());
}

TEST(NamedEventTest, ReplacesWhatIsStaleAndMapsNothingForeign) {
    const std::string name = "veldane_test_" + std::to_string(getpid()), path = "/" + name;
    const auto stale = NamedEvent::create(name);
    stale->signal();
    const auto fresh = NamedEvent::create(name);
    EXPECT_FALSE(fresh->isSet());
    fresh->remove();
    EXPECT_FALSE(NamedEvent::open(name));

    const int file = shm_open(path.c_str(), O_RDWR | O_CREAT | O_EXCL, 0600);
    EXPECT_FALSE(NamedEvent::open(name)) << "it has no size yet";
    EXPECT_EQ(ftruncate(file, 4096), 0);
    // Only root can give a file away.
    const bool given = fchown(file, geteuid() + 1, getegid()) == 0;
    EXPECT_EQ(NamedEvent::open(name) == nullptr, given);
    close(file);
    shm_unlink(path.c_str());
}

}  // namespace veldane::test
