# `ornolith_simd`: what a source file with vector kernels links. Highway compiles each kernel for several instruction
# sets and picks one when the program runs. Its headers alone are used: src/foundation/SIMDTargets.cpp says why.
find_package(hwy REQUIRED)

add_library(ornolith_simd INTERFACE)
target_link_libraries(ornolith_simd INTERFACE ornolith_foundation)
# Without SSE4 the plain code serves: hardly a processor stops at SSSE3, and every target costs compile time and size.
set(ORNOLITH_SIMD_DEFINITIONS "HWY_DISABLED_TARGETS=HWY_SSSE3")
target_compile_definitions(ornolith_simd INTERFACE "${ORNOLITH_SIMD_DEFINITIONS}")
get_target_property(ORNOLITH_SIMD_INCLUDES hwy::hwy INTERFACE_INCLUDE_DIRECTORIES)
if(ORNOLITH_SIMD_INCLUDES)
  target_include_directories(ornolith_simd SYSTEM INTERFACE ${ORNOLITH_SIMD_INCLUDES})
endif()
