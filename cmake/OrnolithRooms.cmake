# A room is one directory of src/ and one static library: ornolith_<name>. It sees the headers of src/ as
# "<room>/<Header>.h"; scripts/check_layers.py checks that it only includes rooms below it.

# ornolith_add_room(<name> [DEPENDS <target>...] [PRIVATE_DEPENDS <target>...] [EXCLUDE <regex>])
function(ornolith_add_room name)
  cmake_parse_arguments(ROOM "" "EXCLUDE" "DEPENDS;PRIVATE_DEPENDS" ${ARGN})
  file(GLOB sources CONFIGURE_DEPENDS ${CMAKE_CURRENT_SOURCE_DIR}/*.cpp)
  if(ROOM_EXCLUDE)
    list(FILTER sources EXCLUDE REGEX "${ROOM_EXCLUDE}")
  endif()
  add_library(ornolith_${name} STATIC ${sources})
  target_include_directories(ornolith_${name} PUBLIC ${PROJECT_SOURCE_DIR}/src)
  target_link_libraries(ornolith_${name} PUBLIC ${ROOM_DEPENDS} PRIVATE ornolith_warnings ${ROOM_PRIVATE_DEPENDS})
endfunction()

# ornolith_add_tests(<name> DEPENDS <target>...): one GoogleTest program from the *.cpp files of this directory.
function(ornolith_add_tests name)
  cmake_parse_arguments(TESTS "" "" "DEPENDS" ${ARGN})
  file(GLOB sources CONFIGURE_DEPENDS ${CMAKE_CURRENT_SOURCE_DIR}/*.cpp)
  add_executable(${name}_tests ${sources})
  target_include_directories(${name}_tests PRIVATE ${PROJECT_SOURCE_DIR}/tests)
  target_link_libraries(${name}_tests PRIVATE ${TESTS_DEPENDS} ornolith_warnings GTest::gmock GTest::gtest_main)
  add_test(NAME ${name} COMMAND ${name}_tests --gtest_brief=1)
endfunction()
