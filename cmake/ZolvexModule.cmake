# zolvex_module(NAME SOURCES file... [USES library...])
# One static library per folder, zolvex-NAME. Includes are written from src/, e.g. "core/MainQueue.h".
function(zolvex_module name)
  cmake_parse_arguments(ARG "" "" "SOURCES;USES" ${ARGN})
  set(target zolvex-${name})
  add_library(${target} STATIC ${ARG_SOURCES})
  target_compile_features(${target} PUBLIC cxx_std_20)
  target_include_directories(${target} PUBLIC ${PROJECT_SOURCE_DIR}/src)
  target_link_libraries(${target} PUBLIC ${ARG_USES} PRIVATE zolvex-warnings)
endfunction()

# zolvex_test(NAME SOURCES file... [USES library...] [LABELS label...] [TIMEOUT seconds] [SERIAL])
# One GoogleTest program, test-NAME; each of its tests is a ctest test of its own. The target LABEL-tests builds all
# programs with that label. What may take long is started first, so that nothing is left to wait for alone.
# SERIAL: no other test runs beside these, because they measure time.
function(zolvex_test name)
  cmake_parse_arguments(ARG "SERIAL" "TIMEOUT" "SOURCES;USES;LABELS;ENVIRONMENT" ${ARGN})
  set(target test-${name})
  if(NOT ARG_LABELS)
    set(ARG_LABELS unit)
  endif()
  if(NOT ARG_TIMEOUT)
    set(ARG_TIMEOUT 60)
  endif()
  add_executable(${target} ${ARG_SOURCES})
  target_include_directories(${target} PRIVATE ${PROJECT_SOURCE_DIR}/tests)
  target_link_libraries(${target} PRIVATE ${ARG_USES} zolvex-test-support zolvex-warnings GTest::gmock)
  foreach(label IN LISTS ARG_LABELS)
    if(NOT TARGET ${label}-tests)
      add_custom_target(${label}-tests)
    endif()
    add_dependencies(${label}-tests ${target})
  endforeach()
  include(GoogleTest)
  gtest_discover_tests(${target} DISCOVERY_MODE PRE_TEST TEST_PREFIX "${name}: " DISCOVERY_TIMEOUT 60
                       PROPERTIES LABELS "${ARG_LABELS}" TIMEOUT ${ARG_TIMEOUT} COST ${ARG_TIMEOUT} ENVIRONMENT "${ARG_ENVIRONMENT}"
                                  RUN_SERIAL ${ARG_SERIAL})
endfunction()
