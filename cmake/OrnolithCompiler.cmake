# Compiler settings that hold for every target of the project.

set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)

find_program(ORNOLITH_CCACHE ccache)
if(ORNOLITH_CCACHE)
  set(CMAKE_C_COMPILER_LAUNCHER ${ORNOLITH_CCACHE})
  set(CMAKE_CXX_COMPILER_LAUNCHER ${ORNOLITH_CCACHE})
endif()

# The same inputs give the same bytes on every processor: no contraction into fused multiply-add, ever.
add_compile_options(-ffp-contract=off)

if(ORNOLITH_SANITIZERS)
  add_compile_options(-fsanitize=${ORNOLITH_SANITIZERS} -fno-sanitize-recover=all -fno-omit-frame-pointer)
  add_link_options(-fsanitize=${ORNOLITH_SANITIZERS})
endif()

# Warnings for our own code; third-party sources are compiled without them.
add_library(ornolith_warnings INTERFACE)
target_compile_options(ornolith_warnings INTERFACE -Wall -Wextra -Wpedantic -Wconversion -Wshadow -Werror)
# GCC 12 warns of overlapping and overflowing copies inside its own std::string and std::vector (GCC bugs 105651, 107852).
target_compile_options(ornolith_warnings INTERFACE $<$<CXX_COMPILER_ID:GNU>:-Wno-restrict -Wno-stringop-overflow>)
