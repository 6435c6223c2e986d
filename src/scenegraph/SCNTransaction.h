#pragma once

namespace ornolith {

/// Brackets a group of changes. The graph applies every change at once, so a flush has nothing left to do.
struct SCNTransaction {
  static void flush() noexcept {}
};

}  // namespace ornolith
