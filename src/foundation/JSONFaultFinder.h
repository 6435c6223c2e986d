#pragma once

#include <optional>
#include <string_view>

#include "foundation/JSON.h"

namespace ornolith {

/// Says what is wrong with a text that is no JSON of the reader's kind, and where: "line 3, column 14". Nothing where
/// it finds no fault. It reads the text by the grammar of RFC 8259, character by character, so that the message is the
/// same on every machine; the reader itself only knows that it failed.
std::optional<json_error::Malformed> findJSONFault(std::string_view text);

}  // namespace ornolith
