#include "host.h"

#include <signal.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <exception>
#include <stdexcept>

namespace {

volatile sig_atomic_t interrupted = 0;

extern "C" void onInterrupt(int) {
    interrupted = 1;
    // Where the library cannot be cancelled, the default action has its way.
    if (halt_computation(0) != 0) raise(SIGINT);
}

/// The callback carries no pointer of the host's, so it finds the one object through this.
Progress* current = nullptr;

/// Less than the terminal has: a line that wraps could not be drawn over.
size_t barWidth() {
    winsize size = {};
    const bool known = ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0;
    return std::min(79, known ? size.ws_col - 1 : 79);
}

Matrix copyOf(const ArrayDesc& out) {
    const int cols = out.cols * out.pages;
    const size_t size = static_cast<size_t>(out.rows) * cols;
    return {out.rows, cols, std::vector<float>(out.data, out.data + size)};
}

int fail(const char* name, const std::string& why, int status) {
    std::fflush(stdout);
    std::fprintf(stderr, "%s: %s\n", name, why.c_str());
    return status;
}

}  // namespace

void cancelOnInterrupt() {
    struct sigaction action = {};
    action.sa_handler = onInterrupt;
    // The first Ctrl-C restores the default action, so that a second one ends the program at once.
    action.sa_flags = SA_RESETHAND | SA_RESTART;
    if (sigaction(SIGINT, &action, nullptr) != 0) throw std::runtime_error("cannot catch SIGINT");
}

bool wasInterrupted() {
    return interrupted != 0;
}

Progress::Progress() {
    current = this;
    init_callback(buffer_, [](float share, char* message) { current->receive(share, message); });
}

Progress::~Progress() {
    init_callback(nullptr, nullptr);
    erase();
}

void Progress::begin() {
    component = 0;
    cancelled = false;
    error.clear();
    line_.clear();
}

void Progress::erase() {
    if (!bar_.empty()) std::printf("\r%*s\r", static_cast<int>(bar_.size()), "");
    bar_.clear();
}

/// No exception may leave a callback: it would pass through the library.
void Progress::receive(float share, const char* message) noexcept {
    // Ahead of the point the library leaves room for a label, which is not in use here.
    const std::string text = message + std::strspn(message, ". ");
    std::sscanf(text.c_str(), "Computing pc %d", &component);
    const bool isError = share < 0.0f;
    if (isError && text.find("cancelled") != std::string::npos) cancelled = true;
    if (isError) error = text;
    if (isatty(STDOUT_FILENO) && !isError) {
        drawBar(share, text);
    } else if (!text.empty() && text != line_ && text.find("Building model") == std::string::npos) {
        erase();
        std::printf("  %s\n", text.c_str());
        line_ = text;
    }
    std::fflush(stdout);
}

void Progress::drawBar(float share, const std::string& text) {
    // Where a phase has one step only, the share is NaN.
    const size_t filled = std::isnan(share) ? 0 : static_cast<size_t>(24 * share);
    std::string bar = "[" + std::string(filled, '#') + std::string(24 - filled, '.') + "] " + text;
    bar.resize(barWidth(), ' ');
    if (bar != bar_) std::printf("\r%s", bar.c_str());
    bar_ = bar;
}

void require(int result, const std::string& what) {
    if (result != 0) throw std::runtime_error(what + " (result " + std::to_string(result) + ")");
}

ArrayDesc describe(Matrix& matrix) {
    return {0, matrix.cols, matrix.rows, 1, matrix.values.data()};
}

Matrix fetch(int (*getter)(ArrayDesc*), const char* name) {
    ArrayDesc out = {VELDANE_KIND_LIBRARY, 0, 0, 1, nullptr};
    require(getter(&out), name);
    return copyOf(out);
}

Matrix fetchSecond(int (*getter)(ArrayDesc*, ArrayDesc*), const char* name, Matrix* first) {
    ArrayDesc outs[2] = {{VELDANE_KIND_LIBRARY, 0, 0, 1, nullptr},
                         {VELDANE_KIND_LIBRARY, 0, 0, 1, nullptr}};
    require(getter(&outs[0], &outs[1]), name);
    if (first) *first = copyOf(outs[0]);
    return copyOf(outs[1]);
}

int positive(const std::string& text) {
    int number = 0;
    const char* end = text.data() + text.size();
    const auto [rest, error] = std::from_chars(text.data(), end, number);
    return error == std::errc() && rest == end && number > 0 ? number : 0;
}

int runProgram(const Manual& manual, int argc, char** argv,
               const std::function<int(const std::vector<std::string>&)>& program) {
    try {
        const std::vector<std::string> arguments(argv + 1, argv + argc);
        int status = 0;
        if (arguments.size() == 1 && arguments[0] == "--help") {
            std::printf("%s%s", manual.usage, manual.help);
        } else {
            status = program(arguments);
        }
        if (std::fflush(stdout) != 0 || std::ferror(stdout)) {
            return fail(manual.name, "cannot write the output", exitFailure);
        }
        return status;
    } catch (const UsageError&) {
        std::fputs(manual.usage, stderr);
        return exitBadInput;
    } catch (const InputError& error) {
        return fail(manual.name, error.what(), exitBadInput);
    } catch (const std::exception& error) {
        return fail(manual.name, error.what(), exitFailure);
    } catch (int) {
        // So does the library say that memory cannot be had.
        return fail(manual.name, "out of memory", exitFailure);
    }
}
