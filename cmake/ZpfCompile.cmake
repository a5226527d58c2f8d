# SPDX-License-Identifier: Apache-2.0
#
# Warnings, sanitizers and helpers shared by all targets.
add_compile_options(-Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wsign-conversion -Wformat=2 -Wundef
                    $<$<COMPILE_LANGUAGE:CXX>:-Wnon-virtual-dtor> $<$<COMPILE_LANGUAGE:CXX>:-Wold-style-cast>
                    # Assertions and diagnostics name files as they stand in the repository, on any machine.
                    -fmacro-prefix-map=${PROJECT_SOURCE_DIR}/=)
# Optimising std::string, g++ 12 reports overruns that are not there (its bugs 105329 and 105651); whether it does
# depends on the length of a literal, a build directory's path included.
add_compile_options("$<$<AND:$<COMPILE_LANGUAGE:CXX>,$<CXX_COMPILER_ID:GNU>,$<VERSION_LESS:$<CXX_COMPILER_VERSION>,13>>:-Wno-array-bounds;-Wno-restrict;-Wno-stringop-overflow;-Wno-stringop-overread>")
if(ZPF_WERROR)
  add_compile_options(-Werror)
endif()
if(ZPF_SANITIZE)
  add_compile_options(-fsanitize=${ZPF_SANITIZE} -fno-omit-frame-pointer -fno-sanitize-recover=all)
  add_link_options(-fsanitize=${ZPF_SANITIZE})
endif()
if(ZPF_COVERAGE)
  add_compile_options(--coverage -O0)
  add_link_options(--coverage)
endif()

# Most of a test's compile time are these headers: they are compiled once for all tests. They belong to a program, since
# libraries are compiled with other flags.
if(ZPF_TESTS)
  find_package(GTest REQUIRED)
  find_package(Threads REQUIRED)
  set(zpf_test_headers_source ${PROJECT_BINARY_DIR}/generated/test_headers.cpp)
  if(NOT EXISTS ${zpf_test_headers_source})
    file(WRITE ${zpf_test_headers_source} "int main() {}\n")
  endif()
  add_executable(zpf_test_headers ${zpf_test_headers_source})
  target_precompile_headers(zpf_test_headers PRIVATE <gmock/gmock.h> <gtest/gtest.h>)
  target_link_libraries(zpf_test_headers PRIVATE GTest::gmock GTest::gtest Threads::Threads)
endif()

# zpf_add_test(NAME SOURCES... [LIBS ...] [LABELS ...]): a GoogleTest program whose cases are found by ctest.
function(zpf_add_test name)
  if(NOT ZPF_TESTS)
    return()
  endif()
  cmake_parse_arguments(arg "" "" "SOURCES;LIBS;LABELS" ${ARGN})
  if(NOT arg_LABELS)
    set(arg_LABELS quick)
  endif()
  add_executable(${name} ${arg_SOURCES})
  target_precompile_headers(${name} REUSE_FROM zpf_test_headers)
  target_link_libraries(${name} PRIVATE ${arg_LIBS} GTest::gmock GTest::gtest GTest::gtest_main Threads::Threads)
  if(ZPF_SANITIZE)
    # One process for all cases: under a sanitizer most of a case's time would be the start of its process.
    add_test(NAME ${name} COMMAND ${name})
    set_tests_properties(${name} PROPERTIES LABELS "${arg_LABELS}" TIMEOUT 900)
  else()
    gtest_discover_tests(${name} DISCOVERY_TIMEOUT 60 PROPERTIES LABELS "${arg_LABELS}" TIMEOUT 300)
  endif()
endfunction()
