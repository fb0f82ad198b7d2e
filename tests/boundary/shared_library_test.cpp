#include <dlfcn.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <string>

#include "boundary/c_caller.h"

namespace {

TEST(SharedLibrary, AllocationFailurePassesThroughACCaller) {
    // 100000 x 100000 elements are more than an array holds.
    float x[100000] = {};
    const ArrayDesc column = {0, 1, 100000, 1, x};
    const ArrayDesc row = {0, 100000, 1, 1, x};
    ArrayDesc out = {VELDANE_KIND_LIBRARY, -7, -7, -7, nullptr};
    int thrown = 0;
    try {
        multiply_from_c(&column, &row, &out);
    } catch (int number) {
        thrown = number;
    }
    EXPECT_EQ(thrown, 999);
    EXPECT_EQ(out.cols, -7);
}

TEST(SharedLibrary, UnloadingTakesTheEventAway) {
    // The library of this program stays loaded, so a copy of the file is loaded and unloaded.
    const std::string event = "/dev/shm/HaltMorla" + std::to_string(getpid());
    const std::filesystem::path copy =
        std::filesystem::temp_directory_path() / ("veldane" + std::to_string(getpid()) + ".so");
    std::filesystem::copy_file(VELDANE_LIBRARY, copy);
    std::filesystem::remove(event);
    void* library = dlopen(copy.c_str(), RTLD_NOW | RTLD_LOCAL);
    std::filesystem::remove(copy);
    ASSERT_NE(library, nullptr) << dlerror();
    EXPECT_EQ(access(event.c_str(), F_OK), 0);
    dlclose(library);
    EXPECT_NE(access(event.c_str(), F_OK), 0);
}

}  // namespace
