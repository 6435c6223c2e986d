#pragma once

#include <unistd.h>

namespace ornolith {

/// The descriptors to which a run writes, without a buffer in between.
struct StandardStreams {
  int output = STDOUT_FILENO;
  int error = STDERR_FILENO;
};

}  // namespace ornolith
