#pragma once

#include "foundation/FileURL.h"
#include "foundation/TemporaryItems.h"

namespace ornolith {

/// The import root of one run: a fresh folder of mode 0700, "<temporary directory>/Ornolith3DRender/<UUID>", which is
/// removed when this object goes and when a signal ends the process.
///
/// "Ornolith3DRender" is shared by all users of the machine: it is made sticky and writable for everybody, and stays.
/// One that another user has made is used where it is sticky, so that only its owner and root could touch what others
/// put there; a link or a file in its place, or a folder of another user's without the sticky mark, is refused.
class PrivateImportRoot {
 public:
  /// Throws `SystemError` ("used as the import folder", "created").
  explicit PrivateImportRoot(const FileURL& temporaryDirectory = FileURL("/tmp", true));

  const FileURL& url() const noexcept { return item_.url(); }

 private:
  TemporaryItem item_;
};

}  // namespace ornolith
