#include <gtest/gtest.h>

#include "GoldenCases.h"

namespace ornolith::golden {
namespace {

class Golden : public testing::TestWithParam<GoldenCase> {};

TEST_P(Golden, PictureIsTheAcceptedOne) {
  const GoldenCase& goldenCase = GetParam();
  std::string log;
  const std::optional<Image> actual = renderCase(goldenCase, log);
  ASSERT_TRUE(actual) << "the program failed: " << log;
  const std::optional<Image> accepted = acceptedImage(goldenCase);
  ASSERT_TRUE(accepted) << "no accepted picture at " << acceptedImagePath(goldenCase)
                        << "; look at the new one with scripts/update-golden";
  if (*actual == *accepted) return;
  ADD_FAILURE() << "the picture differs; old, new and difference: "
                << writeReview(goldenCase.name, reviewSheet(accepted, actual));
}

INSTANTIATE_TEST_SUITE_P(Examples, Golden, testing::ValuesIn(goldenCases()), [](const auto& parameter) {
  std::string name = parameter.param.name;
  for (char& c : name) {
    if (c == '-') c = '_';
  }
  return name;
});

}  // namespace
}  // namespace ornolith::golden
