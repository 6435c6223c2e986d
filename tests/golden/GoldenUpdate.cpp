#include <cstdio>
#include <cstring>

#include "GoldenCases.h"

/// Renders every golden case and writes a sheet of old, new and difference for each that changed; with --accept it also
/// replaces the accepted pictures.
int main(int argc, char** argv) {
  using namespace ornolith;
  using namespace ornolith::golden;
  const bool accepts = argc == 2 && std::strcmp(argv[1], "--accept") == 0;
  if (argc > 1 && !accepts) {
    std::fprintf(stderr, "usage: golden_update [--accept]\n");
    return 2;
  }
  int changed = 0;
  for (const GoldenCase& goldenCase : goldenCases()) {
    std::string log;
    const std::optional<Image> actual = renderCase(goldenCase, log);
    if (!actual) {
      std::fprintf(stderr, "%s: the program failed: %s\n", goldenCase.name.c_str(), log.c_str());
      return 1;
    }
    const std::optional<Image> accepted = acceptedImage(goldenCase);
    if (accepted && *accepted == *actual) continue;
    ++changed;
    const std::string sheet = writeReview(goldenCase.name, reviewSheet(accepted, actual));
    std::printf("%s: %s\n", accepted ? "changed" : "new", sheet.c_str());
    if (accepts) writeImage(acceptedImagePath(goldenCase), *actual);
  }
  std::printf("%d of %zu pictures differ%s\n", changed, goldenCases().size(), accepts ? "; accepted" : "");
  return 0;
}
