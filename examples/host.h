#pragma once

#include <functional>
#include <string>
#include <vector>

#include "csv_table.h"
#include "veldane.h"

/// What every host of the library needs: progress on the terminal, Ctrl-C, copies of what is handed
/// out, and one way to end.

constexpr int exitFailure = 1;
constexpr int exitBadInput = 2;
constexpr int exitInterrupted = 130;

/// The first Ctrl-C asks the library to cancel, the next one ends the program.
void cancelOnInterrupt();
bool wasInterrupted();

/// Shows what the library reports: a bar on a terminal, plain lines elsewhere. One in a program.
class Progress {
  public:
    Progress();
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;
    ~Progress();

    void begin();
    void erase();

    int component = 0;  ///< the last one that was begun, from 1
    bool cancelled = false;
    std::string error;

  private:
    void receive(float share, const char* message) noexcept;
    void drawBar(float share, const std::string& text);

    char buffer_[VELDANE_MESSAGE_SIZE] = "";
    std::string bar_;
    std::string line_;
};

/// Throws std::runtime_error unless the result is 0.
void require(int result, const std::string& what);

/// The descriptor of a matrix that the library is to read, or to change in place.
ArrayDesc describe(Matrix& matrix);

/// A copy of what a function hands out, since the elements are the library's. A cube i x j x k
/// comes with its last index in the columns: i x (j k).
Matrix fetch(int (*getter)(ArrayDesc*), const char* name);

/// Of two outputs: the first is in `first`, the second the result.
Matrix fetchSecond(int (*getter)(ArrayDesc*, ArrayDesc*), const char* name,
                   Matrix* first = nullptr);

/// 0 if it is no number above 0.
int positive(const std::string& text);

/// Thrown by a program that cannot make sense of its arguments.
struct UsageError {};

/// What a program is called and says of itself.
struct Manual {
    const char* name;
    const char* usage;
    const char* help;
};

/// Runs a program, answers --help, and tells what went wrong in one line. The program gets its
/// arguments and returns the status to end with.
int runProgram(const Manual& manual, int argc, char** argv,
               const std::function<int(const std::vector<std::string>&)>& program);
