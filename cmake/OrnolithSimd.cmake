# `ornolith_simd`: what a source file with vector kernels links. Highway compiles each kernel for several instruction
# sets and picks one when the program runs.
find_package(hwy REQUIRED)

add_library(ornolith_simd INTERFACE)
target_link_libraries(ornolith_simd INTERFACE hwy::hwy)
# SSSE3 alone is left to SSE2: hardly a processor stops there, and every target costs compile time and size.
target_compile_definitions(ornolith_simd INTERFACE "HWY_DISABLED_TARGETS=HWY_SSSE3")
