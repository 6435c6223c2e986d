#include "scene/Invariants.h"

#include <cstdio>
#include <cstdlib>

namespace ornolith {

void fatalInvariant(const char* brokenRule) noexcept {
  std::fprintf(stderr, "ornolith-render: fatal: this must hold and does not: %s.\n", brokenRule);
  std::abort();
}

}  // namespace ornolith
