# SPDX-FileCopyrightText: 2026 The fibdb authors
# SPDX-License-Identifier: Apache-2.0
# How every target of the project is compiled.
include_guard(GLOBAL)

function(fibdb_target target)
  target_compile_features(${target} PRIVATE cxx_std_20)
  target_compile_options(${target} PRIVATE -Wall -Wextra -Wpedantic -Wconversion
                                            $<$<BOOL:${FIBDB_WERROR}>:-Werror>)
  # Includes are written from the project's root: "runtime/ops.h", "engine/store/table.h".
  target_include_directories(${target} PRIVATE ${PROJECT_SOURCE_DIR})
  set_target_properties(${target} PROPERTIES CXX_EXTENSIONS OFF C_STANDARD 11 C_EXTENSIONS OFF)
endfunction()

# Code that uses the C++ library freely: the program, tests, benchmarks. GCC 12 takes the content of an empty
# std::optional or std::variant for uninitialised when it optimises, and a joined std::string for one that overlaps
# itself.
function(fibdb_program_code target)
  fibdb_target(${target})
  target_compile_options(${target} PRIVATE $<$<CXX_COMPILER_ID:GNU>:-Wno-maybe-uninitialized>
                                            $<$<CXX_COMPILER_ID:GNU>:-Wno-restrict>)
endfunction()

# Code of the two shipped libraries: no exceptions, no RTTI, nothing visible but what a header exports.
function(fibdb_library_code target)
  fibdb_target(${target})
  target_compile_options(${target} PRIVATE $<$<COMPILE_LANGUAGE:CXX>:-fno-exceptions -fno-rtti>)
  # What the libraries export they also call, and nobody else's function of that name: GCC may inline it, as Clang does.
  target_compile_options(${target} PRIVATE $<$<CXX_COMPILER_ID:GNU>:-fno-semantic-interposition>)
  set_target_properties(${target} PROPERTIES CXX_VISIBILITY_PRESET hidden VISIBILITY_INLINES_HIDDEN ON
                                             POSITION_INDEPENDENT_CODE ON)
endfunction()

# For folders whose sources are not shipped: the compilers' warnings are enough. Reading leaves no object behind, which
# the build would wait for.
macro(fibdb_not_shipped)
  if(FIBDB_DIAGNOSE)
    unset(CMAKE_CXX_CLANG_TIDY)
    list(APPEND CMAKE_CXX_COMPILE_OBJECT "touch <OBJECT>")
  endif()
endmacro()
