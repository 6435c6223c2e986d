#pragma once

#include <sys/types.h>

#include <optional>
#include <ostream>
#include <string>
#include <vector>

namespace ornolith::blackbox {

/// How a run of the program ended.
struct Outcome {
  int status = -1;     ///< The exit status, or 128 plus the signal that killed it, or -1 where it had to be stopped.
  std::string output;  ///< All of standard output.
  std::string error;   ///< All of standard error.
  bool operator==(const Outcome&) const = default;
};

void PrintTo(const Outcome& outcome, std::ostream* out);

/// What stands around a run.
struct Surroundings {
  std::string directory = "/";                           ///< The current directory.
  std::vector<std::string> environment = {};             ///< "NAME=value".
  std::optional<std::size_t> processors = std::nullopt;  ///< How many processors it may run on.
  enum class Output { file, brokenPipe, closed, full } output = Output::file;
  bool closesError = false;
};

/// The built program while it runs.
class Program {
 public:
  Program(const std::vector<std::string>& arguments, const Surroundings& surroundings);
  Program(const Program&) = delete;
  Program& operator=(const Program&) = delete;
  ~Program();

  void signal(int number) const;
  bool hasEnded();
  /// Waits until it has ended; stops it after a minute.
  Outcome wait();

 private:
  pid_t process_ = -1;
  std::optional<int> rawStatus_;
  int outputFile_ = -1;
  int errorFile_ = -1;
};

Outcome run(const std::vector<std::string>& arguments, const Surroundings& surroundings = {});

/// The usage text as the program must print it, without a newline at the end; kept here apart from the program's own.
extern const std::string usageText;

/// What a failed run looks like.
Outcome failure(const std::string& text);

}  // namespace ornolith::blackbox
