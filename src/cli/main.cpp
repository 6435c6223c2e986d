#include <fcntl.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <string>
#include <vector>

#include "cli/RunDriver.h"

namespace {

/// Puts something that can be neither read nor written where a standard descriptor is closed, so that no file that is
/// opened later takes its place and receives what is meant for people.
void occupyClosedStandardDescriptors() {
  for (const int descriptor : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
    // The lowest free descriptor is the closed one, since those below it are taken by now.
    if (::fcntl(descriptor, F_GETFD) < 0) static_cast<void>(::open("/dev/null", O_PATH));
  }
}

}  // namespace

int main(int argumentCount, char** arguments) {
  occupyClosedStandardDescriptors();
  // A closed pipe and a file at its size limit are failed writes like any other.
  for (const int signal : {SIGPIPE, SIGXFSZ}) static_cast<void>(std::signal(signal, SIG_IGN));
  const std::vector<std::string> texts(arguments + (argumentCount > 0 ? 1 : 0), arguments + argumentCount);
  // All output is written and all clean-up done: nothing is left to destroy.
  std::_Exit(ornolith::runDriver(texts));
}
