#include "imaging/DistinctBytes.h"

#include <algorithm>
#include <iterator>

namespace ornolith {

std::uint64_t DistinctBytes::add(std::span<const std::byte> bytes) {
  if (bytes.empty()) return 0;
  const auto begin = reinterpret_cast<std::uintptr_t>(bytes.data());
  const std::uintptr_t end = begin + bytes.size();

  auto next = stretches_.upper_bound(begin);
  if (next != stretches_.begin() && std::prev(next)->second >= begin) --next;
  std::uintptr_t joinedBegin = begin, joinedEnd = end;
  std::uint64_t known = 0;
  while (next != stretches_.end() && next->first <= end) {
    known += std::min(end, next->second) - std::max(begin, next->first);
    joinedBegin = std::min(joinedBegin, next->first);
    joinedEnd = std::max(joinedEnd, next->second);
    next = stretches_.erase(next);
  }
  stretches_.emplace(joinedBegin, joinedEnd);
  return bytes.size() - known;
}

}  // namespace ornolith
