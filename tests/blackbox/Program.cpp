#include "blackbox/Program.h"

#include <fcntl.h>
#include <sched.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <stdexcept>
#include <thread>

namespace ornolith::blackbox {

namespace {

using Clock = std::chrono::steady_clock;
constexpr std::chrono::seconds longestRun{60};

int memoryFile(const char* name) {
  const int file = ::memfd_create(name, MFD_CLOEXEC);
  if (file < 0) throw std::runtime_error("no memory file");
  return file;
}

std::string contentsOf(int file) {
  std::string contents;
  char buffer[4096];
  for (off_t offset = 0;;) {
    const ssize_t count = ::pread(file, buffer, sizeof buffer, offset);
    if (count <= 0) return contents;
    contents.append(buffer, static_cast<std::size_t>(count));
    offset += count;
  }
}

int brokenPipe() {
  int ends[2];
  if (::pipe(ends) != 0) return -1;
  ::close(ends[0]);
  return ends[1];
}

/// In the child: what becomes of standard output.
void arrangeOutput(Surroundings::Output kind, int file) {
  switch (kind) {
    case Surroundings::Output::file:
      ::dup2(file, STDOUT_FILENO);
      break;
    case Surroundings::Output::brokenPipe:
      ::dup2(brokenPipe(), STDOUT_FILENO);
      break;
    case Surroundings::Output::full:
      ::dup2(::open("/dev/full", O_WRONLY | O_CLOEXEC), STDOUT_FILENO);
      break;
    case Surroundings::Output::closed:
      ::close(STDOUT_FILENO);
      break;
  }
}

void limitProcessors(std::size_t count) {
  cpu_set_t allowed;
  CPU_ZERO(&allowed);
  if (::sched_getaffinity(0, sizeof allowed, &allowed) != 0) return;
  std::size_t kept = 0;
  for (std::size_t processor = 0; processor < CPU_SETSIZE; ++processor) {
    if (CPU_ISSET(processor, &allowed) && ++kept > count) CPU_CLR(processor, &allowed);
  }
  ::sched_setaffinity(0, sizeof allowed, &allowed);
}

std::vector<char*> pointersTo(std::vector<std::string>& texts) {
  std::vector<char*> pointers;
  for (std::string& text : texts) pointers.push_back(text.data());
  pointers.push_back(nullptr);
  return pointers;
}

}  // namespace

void PrintTo(const Outcome& outcome, std::ostream* out) {
  *out << "status " << outcome.status << "\noutput: " << outcome.output << "\nerror: " << outcome.error;
}

Program::Program(const std::vector<std::string>& arguments, const Surroundings& surroundings)
    : outputFile_(memoryFile("output")), errorFile_(memoryFile("error")) {
  std::vector<std::string> argumentTexts{ORNOLITH_RENDER_PROGRAM};
  argumentTexts.insert(argumentTexts.end(), arguments.begin(), arguments.end());
  std::vector<std::string> environmentTexts = surroundings.environment;
  const std::vector<char*> argumentPointers = pointersTo(argumentTexts);
  const std::vector<char*> environmentPointers = pointersTo(environmentTexts);

  process_ = ::fork();
  if (process_ < 0) throw std::runtime_error("no process");
  if (process_ != 0) return;

  if (::chdir(surroundings.directory.c_str()) != 0) ::_exit(126);
  if (surroundings.processors) limitProcessors(*surroundings.processors);
  for (const int number : {SIGPIPE, SIGINT, SIGTERM, SIGHUP}) ::signal(number, SIG_DFL);
  arrangeOutput(surroundings.output, outputFile_);
  if (surroundings.closesError) {
    ::close(STDERR_FILENO);
  } else {
    ::dup2(errorFile_, STDERR_FILENO);
  }
  ::execve(argumentTexts[0].c_str(), argumentPointers.data(), environmentPointers.data());
  ::_exit(127);
}

Program::~Program() {
  if (!rawStatus_) {
    ::kill(process_, SIGKILL);
    int ignored = 0;
    ::waitpid(process_, &ignored, 0);
  }
  ::close(outputFile_);
  ::close(errorFile_);
}

void Program::signal(int number) const {
  ::kill(process_, number);
}

bool Program::hasEnded() {
  int status = 0;
  if (!rawStatus_ && ::waitpid(process_, &status, WNOHANG) == process_) rawStatus_ = status;
  return rawStatus_.has_value();
}

Outcome Program::wait() {
  const auto deadline = Clock::now() + longestRun;
  while (!hasEnded() && Clock::now() < deadline) std::this_thread::sleep_for(std::chrono::microseconds(200));
  Outcome outcome;
  if (rawStatus_) {
    outcome.status = WIFEXITED(*rawStatus_) ? WEXITSTATUS(*rawStatus_) : 128 + WTERMSIG(*rawStatus_);
  }
  outcome.output = contentsOf(outputFile_);
  outcome.error = contentsOf(errorFile_);
  return outcome;
}

Outcome run(const std::vector<std::string>& arguments, const Surroundings& surroundings) {
  return Program(arguments, surroundings).wait();
}

Outcome failure(const std::string& text) {
  return {.status = 1, .output = "", .error = "ornolith-render: " + text + "\n\n" + usageText + "\n"};
}

const std::string usageText =
    R"(usage: ornolith-render <model> (--output <render.png> | --output-directory <path> | --list-parts) [options]

Inputs: FBX, OBJ, DAE, SCN, USD, USDA, USDC, USDZ, glTF, GLB, STL, and PLY.

Options:
  --output <path>              Write one PNG output.
  --output-directory <path>    Write a new paginated pose-series directory.
  --list-parts                 Print the authored node inventory as JSON; do not render.
  --width <pixels>             Output width. Default: 1024.
  --height <pixels>            Output height. Default: 1024. Contact sheets: max 16 MP.
  --tile-width <pixels>        Pose-series tile width. Default: 512.
  --tile-height <pixels>       Pose-series tile height. Default: 512.
  --layout <mode>              single, contact-4, or contact-6. Default: single.
  --contact-arrangement <mode>  grid or strip. Default: grid.
  --surface <mode>             textured, untextured, transparent, or mesh. Default: textured.
  --background <value>         transparent or #RRGGBB. Default: transparent.
  --camera auto                Use automatic camera framing. Default.
  --camera-position x,y,z      Override camera position.
  --camera-target x,y,z        Override camera target.
  --fov <degrees>              Override camera field of view.
  --camera-preset <path>       Apply an Ornolith camera-preset JSON file (schema v1).
  --asset-dir <path>           Extra texture/material directory. Repeatable.
  --rotate-part <selector> <axis-spec>
                               Add one explicit local rotation to a single pose.
                               axis-spec: comma-separated x=, y=, and/or z= degrees.
  --pose-file <path>           Ordered explicit poses as Ornolith pose JSON (schema v1).
  --show-pivot                 Render pivot axis overlay.
  --show-rigging               Render rigging overlay.
  --version                    Show product version.
  --help                       Show this help.)";

}  // namespace ornolith::blackbox
