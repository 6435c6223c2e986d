#include "viewport/GizmoHandle.h"

namespace ornolith {

namespace {

std::string kindOf(const gizmo_handle::Move& handle) {
  return "move." + std::string(rawValue(handle.axis));
}
std::string kindOf(const gizmo_handle::Rotate& handle) {
  return "rotate." + std::string(rawValue(handle.axis));
}
std::string kindOf(const gizmo_handle::Scale& handle) {
  return "scale." + std::string(rawValue(handle.axis));
}
std::string kindOf(const gizmo_handle::UniformScale& /*handle*/) {
  return "scale.uniform";
}

}  // namespace

std::string nodeName(const GizmoHandle& handle) {
  return "__OrnolithGizmoHandle." + std::visit([](const auto& kind) { return kindOf(kind); }, handle);
}

}  // namespace ornolith
