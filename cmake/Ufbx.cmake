# The FBX library ufbx as the static library target `ufbx`.
#
# Its C source comes inside the package that its author publishes for cargo. `cargo vendor` fetches that package once,
# from a manifest made here, into a folder that all build folders of this checkout share; both source files are then
# checked against the recorded sums at every configuration. With the folder in place nothing is fetched any more.

set(ORNOLITH_UFBX_CRATE_VERSION "0.11.1")  # holds ufbx 0.22.0
set(ORNOLITH_UFBX_SHA256_C "22f503c63b652b5a750d14096f53783588aea53a9557a66b6c91433347c6ee2e")
set(ORNOLITH_UFBX_SHA256_H "68d81fd32a2ab0b254f5f6f1c675b99816358f441e032a9e028b2205afa9693a")
set(ORNOLITH_OLDEST_CARGO "1.70")
set(ORNOLITH_VENDOR_DIR "${PROJECT_SOURCE_DIR}/build/vendor" CACHE PATH
  "Where third-party sources are fetched to; shared by the build folders of a checkout")

# Sets `result` to whether `directory` holds exactly the recorded sources.
function(ornolith_ufbx_is_intact directory result)
  set(${result} FALSE PARENT_SCOPE)
  if(EXISTS "${directory}/ufbx.c" AND EXISTS "${directory}/ufbx.h")
    file(SHA256 "${directory}/ufbx.c" sum_c)
    file(SHA256 "${directory}/ufbx.h" sum_h)
    if(sum_c STREQUAL ORNOLITH_UFBX_SHA256_C AND sum_h STREQUAL ORNOLITH_UFBX_SHA256_H)
      set(${result} TRUE PARENT_SCOPE)
    endif()
  endif()
endfunction()

# Sets `result` to a cargo that is recent enough: the one on the path, else the system's.
function(ornolith_find_cargo result)
  find_program(ORNOLITH_CARGO NAMES cargo)
  set(found_versions "")
  foreach(candidate IN ITEMS "${ORNOLITH_CARGO}" /usr/bin/cargo)
    if(NOT candidate OR NOT EXISTS "${candidate}")
      continue()
    endif()
    execute_process(COMMAND "${candidate}" --version OUTPUT_VARIABLE version_text ERROR_QUIET RESULT_VARIABLE status)
    if(status EQUAL 0 AND version_text MATCHES "cargo ([0-9]+\\.[0-9]+)")
      if(CMAKE_MATCH_1 VERSION_GREATER_EQUAL ORNOLITH_OLDEST_CARGO)
        set(${result} "${candidate}" PARENT_SCOPE)
        return()
      endif()
      list(APPEND found_versions "${candidate} is version ${CMAKE_MATCH_1}")
    else()
      list(APPEND found_versions "${candidate} does not run")
    endif()
  endforeach()
  if(NOT found_versions)
    set(found_versions "there is none on the path")
  endif()
  string(REPLACE ";" ", " found_versions "${found_versions}")
  message(FATAL_ERROR
    "The FBX library is fetched with cargo ${ORNOLITH_OLDEST_CARGO} or later, but ${found_versions}.\n"
    "Run scripts/set-up, or install a recent one: on Debian 12, apt-get install cargo-web.")
endfunction()

# Fetches the package and leaves ufbx.c and ufbx.h in `directory`, which appears complete or not at all.
function(ornolith_fetch_ufbx directory)
  ornolith_find_cargo(cargo)
  message(STATUS "Fetching ufbx (crate ufbx ${ORNOLITH_UFBX_CRATE_VERSION}) with ${cargo}")
  string(RANDOM LENGTH 12 suffix)
  set(work "${directory}.fetch-${suffix}")
  file(WRITE "${work}/Cargo.toml"
    "[package]\nname = \"ornolith-fetch\"\nversion = \"0.0.0\"\nedition = \"2018\"\npublish = false\n\n"
    "[lib]\npath = \"empty.rs\"\n\n[dependencies]\nufbx = \"=${ORNOLITH_UFBX_CRATE_VERSION}\"\n\n[workspace]\n")
  file(WRITE "${work}/empty.rs" "")
  execute_process(COMMAND "${cargo}" vendor --quiet "${work}/vendored"
    WORKING_DIRECTORY "${work}" RESULT_VARIABLE status OUTPUT_QUIET ERROR_VARIABLE log)
  if(NOT status EQUAL 0)
    file(REMOVE_RECURSE "${work}")
    message(FATAL_ERROR
      "cargo could not fetch the crate ufbx ${ORNOLITH_UFBX_CRATE_VERSION}; check the network and run cmake again.\n${log}")
  endif()
  set(sources "${work}/vendored/ufbx/ufbx")
  ornolith_ufbx_is_intact("${sources}" intact)
  if(NOT intact)
    file(REMOVE_RECURSE "${work}")
    message(FATAL_ERROR
      "The crate ufbx ${ORNOLITH_UFBX_CRATE_VERSION} as fetched does not hold the recorded ufbx.c and ufbx.h (SHA-256 "
      "differs). Do not build with it: check where cargo fetches from (its configuration may replace the registry).")
  endif()
  file(REMOVE_RECURSE "${directory}")
  file(RENAME "${sources}" "${directory}")
  file(REMOVE_RECURSE "${work}")
endfunction()

set(ORNOLITH_UFBX_DIR "${ORNOLITH_VENDOR_DIR}/ufbx-${ORNOLITH_UFBX_CRATE_VERSION}")
ornolith_ufbx_is_intact("${ORNOLITH_UFBX_DIR}" ornolith_ufbx_intact)
if(NOT ornolith_ufbx_intact)
  # Several configurations may run at once: one fetches, the others find its result.
  file(MAKE_DIRECTORY "${ORNOLITH_VENDOR_DIR}")
  file(LOCK "${ORNOLITH_UFBX_DIR}.lock" TIMEOUT 300)
  ornolith_ufbx_is_intact("${ORNOLITH_UFBX_DIR}" ornolith_ufbx_intact)
  if(NOT ornolith_ufbx_intact)
    ornolith_fetch_ufbx("${ORNOLITH_UFBX_DIR}")
  endif()
  file(LOCK "${ORNOLITH_UFBX_DIR}.lock" RELEASE)
endif()

# Its maths functions are ours, so that a model has the same bits on every processor.
set(ornolith_ufbx_math "${PROJECT_SOURCE_DIR}/src/loaders/fbx/UfbxMath.cpp")
add_library(ufbx STATIC "${ORNOLITH_UFBX_DIR}/ufbx.c" "${ornolith_ufbx_math}")
target_compile_definitions(ufbx PRIVATE UFBX_EXTERNAL_MATH)
target_include_directories(ufbx SYSTEM INTERFACE "${ORNOLITH_UFBX_DIR}" PRIVATE "${PROJECT_SOURCE_DIR}/src")
target_link_libraries(ufbx PRIVATE ornolith_foundation)
# Optimised in debug builds too: it is not what is being debugged, and the tests read many files.
target_compile_options(ufbx PRIVATE $<$<CONFIG:Debug>:-O2>)
