# Helpers for the targets of this project: one place for warnings, sanitizers, include roots and export headers.

# The flags that every target of ours is compiled with. They stay out of the installed targets.
function(zelkor_compile_options target)
  target_compile_options(${target} PRIVATE -Wall -Wextra -Wpedantic -Wshadow -Wconversion
    # GCC 12 takes "text" + string for overlapping copies when it optimises, and the move of a small vector for a read
    # beyond its end; GCC 13 does not.
    "$<$<AND:$<CXX_COMPILER_ID:GNU>,$<VERSION_LESS:$<CXX_COMPILER_VERSION>,13>>:-Wno-restrict;-Wno-stringop-overread>")
  if(ZELKOR_WERROR)
    target_compile_options(${target} PRIVATE -Werror)
  endif()
  if(ZELKOR_SANITIZE)
    target_compile_options(${target} PRIVATE -fsanitize=${ZELKOR_SANITIZE} -fno-sanitize-recover=all
                                             -fno-omit-frame-pointer)
    target_link_options(${target} PRIVATE -fsanitize=${ZELKOR_SANITIZE})
  endif()
  if(ZELKOR_BUILD_FUZZERS)
    # Fuzzers see which ways the libraries take.
    target_compile_options(${target} PRIVATE -fsanitize=fuzzer-no-link)
  endif()
endfunction()

# A shared library NAME with the alias NAME::NAME, the include roots src and <build>/gen, hidden visibility
# and the generated header NAME/Export.h with the macro NAME_EXPORT (upper case).
function(zelkor_add_library name)
  add_library(${name} SHARED ${ARGN})
  add_library(${name}::${name} ALIAS ${name})
  string(TOUPPER ${name} macro)
  generate_export_header(${name} BASE_NAME ${name} EXPORT_MACRO_NAME ${macro}_EXPORT
                         EXPORT_FILE_NAME ${PROJECT_BINARY_DIR}/gen/${name}/Export.h)
  target_include_directories(${name} PUBLIC
    $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}/src>
    $<BUILD_INTERFACE:${PROJECT_BINARY_DIR}/gen>
    $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}>)
  target_compile_features(${name} PUBLIC cxx_std_20)
  # Calls within the library are direct, and may be inlined: nobody is to replace a function of ours. Those to the
  # libraries below go straight to their place in the table of addresses.
  target_compile_options(${name} PRIVATE -fno-semantic-interposition -fno-plt)
  target_link_options(${name} PRIVATE -Wl,-Bsymbolic-functions)
  set_target_properties(${name} PROPERTIES
    VERSION ${PROJECT_VERSION} SOVERSION ${PROJECT_VERSION_MAJOR}.${PROJECT_VERSION_MINOR})
  zelkor_compile_options(${name})
endfunction()

# A test executable NAME of the given sources, linked with LIBS. It is one CTest test with the label of its folder
# (tavo, kavra, ...); its cases run in one process, so that what one leaves behind shows in the next.
function(zelkor_add_test name)
  cmake_parse_arguments(arg "" "" "SOURCES;LIBS" ${ARGN})
  add_executable(${name} ${arg_SOURCES})
  target_include_directories(${name} PRIVATE ${PROJECT_SOURCE_DIR})
  target_link_libraries(${name} PRIVATE ${arg_LIBS} GTest::gtest GTest::gmock GTest::gtest_main)
  target_compile_definitions(${name} PRIVATE ZELKOR_TEST_DATA="${CMAKE_CURRENT_SOURCE_DIR}/data")
  zelkor_compile_options(${name})
  add_test(NAME ${name} COMMAND ${name} --gtest_brief=1)
  cmake_path(GET CMAKE_CURRENT_SOURCE_DIR FILENAME layer)
  set_tests_properties(${name} PROPERTIES LABELS ${layer})
endfunction()
