#pragma once

#include <string>
#include <string_view>

namespace ornolith {

/// What stands behind the first word of a line.
std::string_view behindOBJDirective(std::string_view line);

/// The name that the rest of a "newmtl" or "usemtl" line means: runs of blanks count as one, quotes around it do not
/// count, and bytes that are no UTF-8 are replaced. A "#" belongs to it: some exporters number their materials
/// ("Material #25").
std::string objMaterialName(std::string_view rest);

/// The name where a "#" begins a comment nevertheless; empty where there is none, or nothing before it.
std::string objMaterialNameBeforeComment(std::string_view rest);

}  // namespace ornolith
