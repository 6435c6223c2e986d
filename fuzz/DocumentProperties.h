#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "FuzzCheck.h"
#include "foundation/JSON.h"
#include "foundation/JSONFaultFinder.h"

namespace ornolith::fuzz {

/// The parser refuses exactly the texts in which the fault finder finds a fault.
inline void checkFaults(std::span<const std::byte> data) {
  constexpr std::string_view byteOrderMark = "\xEF\xBB\xBF";
  std::string_view text(reinterpret_cast<const char*>(data.data()), data.size());
  if (text.starts_with(byteOrderMark)) text.remove_prefix(byteOrderMark.size());
  const bool isRefused = throws<JSONError>([&] { JSONDocument::parse(data); });
  check(isRefused == findJSONFault(text).has_value(), "the parser and the fault finder agree");
}

/// A document that was read is written, read back and written again: the documents are equal and the canonical text is
/// a fixed point, whatever the layout in between.
template <typename Document>
void checkRoundTrip(const Document& document) {
  const JSONValue value = document.toJSON();
  const std::string canonical = canonicalJSON(value);
  for (const std::string& text : {canonical, canonicalJSON(value, JSONKeyOrder::asAdded), compactJSON(value)}) {
    // Indentation can carry a document over its limit.
    if (text.size() > static_cast<std::size_t>(Document::maximumByteCount)) continue;
    const Document again = Document::decode(bytes(text));
    check(again == document, "a written document reads back equal");
    check(canonicalJSON(again.toJSON()) == canonical, "the canonical text is a fixed point");
  }
}

}  // namespace ornolith::fuzz
