#pragma once

#include <string_view>

namespace ornolith {

/// The usage text, without a newline at the end: what `--help` prints and what follows every failure.
extern const std::string_view usage;

}  // namespace ornolith
