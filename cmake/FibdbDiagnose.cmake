# SPDX-FileCopyrightText: 2026 The fibdb authors
# SPDX-License-Identifier: Apache-2.0
# The second compiler as a reader (preset clang): it says what it thinks of every source, and nothing is generated or
# linked. What is shipped is read by clang-tidy, which is that compiler and reports its warnings, too; the compiler
# itself then only preprocesses it, to find out on which headers it depends. All else is read by the compiler alone.
include_guard(GLOBAL)

find_program(FIBDB_CLANG_TIDY NAMES clang-tidy-14 clang-tidy REQUIRED)
# A changed list of checks has another name, so everything is read anew.
file(SHA256 ${PROJECT_SOURCE_DIR}/.clang-tidy checks)
string(PREPEND checks ${PROJECT_BINARY_DIR}/clang-tidy-)
configure_file(${PROJECT_SOURCE_DIR}/.clang-tidy ${checks} COPYONLY)
set(CMAKE_CXX_CLANG_TIDY ${FIBDB_CLANG_TIDY} --quiet --config-file=${checks})
set(reads "$<IF:$<BOOL:$<TARGET_PROPERTY:CXX_CLANG_TIDY>>,-E,-fsyntax-only>")
add_compile_options("$<$<COMPILE_LANGUAGE:CXX>:SHELL:-Xclang ${reads}>")

foreach(language C CXX)
  set(CMAKE_${language}_CREATE_SHARED_LIBRARY "touch <TARGET>")
  set(CMAKE_${language}_ARCHIVE_CREATE "touch <TARGET>")
  set(CMAKE_${language}_ARCHIVE_FINISH "")
  set(CMAKE_${language}_LINK_EXECUTABLE "touch <TARGET>")
endforeach()
