#pragma once

#include <ufbx.h>

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "foundation/FileURL.h"

namespace ornolith {

/// What stands behind the last of `separators` in `path`, separators at its end not counted; empty where nothing does.
std::string_view lastComponent(std::string_view path, const char* separators);

/// The path of the file that `texture` names, or nothing. The names in the file are tried in the order resolved,
/// relative, absolute; the first regular file found wins. For each name: the name itself, where it is an absolute path;
/// then in the model's folder and in each of `assetDirectories`, in order, the name as written and its last component.
///
/// A name that climbs out of the folder that it is looked for in ("..") is not followed. That goes for the resolved
/// name too, which the FBX library makes absolute from the relative one: it counts only inside those folders. An
/// absolute path that the file itself holds is taken as it stands. Below those folders no link is followed, so that a
/// folder cannot show what the import refused to take from it; the folders' own paths may lead through links.
///
/// Files written on Windows separate with "\", which is an ordinary character here. Where nothing at all was found, the
/// names are tried once more by what follows their last "/" or "\".
std::optional<std::string> ResolvedPathForSingleTexture(const ufbx_texture& texture, const FileURL& modelURL,
                                                        const std::vector<FileURL>& assetDirectories);

}  // namespace ornolith
