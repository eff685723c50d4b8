# Makes C++ from class schemas; docs/schemas.md describes them.

# An installed package says where the generator is; in the source tree it stands with the other tools. A property rather
# than a variable, since the function below may be called from folders that do not see the variables of this one.
if(NOT TAVOGEN_FOLDER)
  cmake_path(SET TAVOGEN_FOLDER NORMALIZE "${CMAKE_CURRENT_LIST_DIR}/../tools/tavogen")
endif()
set_property(GLOBAL PROPERTY TAVOGEN_FOLDER "${TAVOGEN_FOLDER}")

# tavo_generate(TARGET name SCHEMAS file... [DEPENDS target...] [OUTPUT folder])
#
# Generates the classes of all SCHEMAS, among them the package's own file, and adds the sources to the target. DEPENDS
# names the targets whose schemas these ones stand on, directly or not; those of an installed package work, too. The
# headers go below OUTPUT (default: gen in the build tree), which becomes an include root of the target; pages of
# reference go into its docs.
#
# It runs while CMake configures, so that editors find the headers at once; a changed schema or generator makes the
# build configure again. Only files that differ are written, so only their users are built again.
function(tavo_generate)
  cmake_parse_arguments(arg "" "TARGET;OUTPUT" "SCHEMAS;DEPENDS" ${ARGN})
  if(NOT arg_TARGET OR NOT arg_SCHEMAS OR arg_UNPARSED_ARGUMENTS)
    message(FATAL_ERROR "tavo_generate: TARGET and SCHEMAS are wanted; not known: '${arg_UNPARSED_ARGUMENTS}'")
  endif()
  if(NOT arg_OUTPUT)
    set(arg_OUTPUT ${PROJECT_BINARY_DIR}/gen)
  endif()
  list(TRANSFORM arg_SCHEMAS PREPEND "${CMAKE_CURRENT_SOURCE_DIR}/" REGEX "^[^/]")
  # Only here, so that nobody needs Python to link the libraries.
  find_package(Python3 3.11 REQUIRED COMPONENTS Interpreter)
  get_property(tavogen GLOBAL PROPERTY TAVOGEN_FOLDER)

  set(depends)
  foreach(target IN LISTS arg_DEPENDS)
    get_target_property(schemas ${target} TAVO_SCHEMAS)
    if(NOT schemas)
      message(FATAL_ERROR "tavo_generate: nothing is generated for ${target}")
    endif()
    list(APPEND depends ${schemas})
  endforeach()
  set_target_properties(${arg_TARGET} PROPERTIES TAVO_SCHEMAS "${arg_SCHEMAS}")
  list(TRANSFORM depends PREPEND "--depends=")

  file(GLOB_RECURSE generator CONFIGURE_DEPENDS ${tavogen}/*.py)
  set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${arg_SCHEMAS} ${generator})
  execute_process(
    COMMAND ${Python3_EXECUTABLE} -B ${tavogen} --name=${arg_TARGET} --output=${arg_OUTPUT} ${depends}
            ${arg_SCHEMAS}
    OUTPUT_VARIABLE sources OUTPUT_STRIP_TRAILING_WHITESPACE
    ERROR_VARIABLE faults ERROR_STRIP_TRAILING_WHITESPACE
    RESULT_VARIABLE result)
  if(NOT result EQUAL 0)
    string(REPLACE "\n" "\n  " faults "${faults}") # CMake leaves indented lines as they are
    message(FATAL_ERROR "The schemas of ${arg_TARGET} are not right:\n  ${faults}")
  endif()
  string(REPLACE "\n" ";" sources "${sources}")
  list(TRANSFORM sources PREPEND "${arg_OUTPUT}/")
  target_sources(${arg_TARGET} PRIVATE ${sources})
  target_include_directories(${arg_TARGET} PUBLIC $<BUILD_INTERFACE:${arg_OUTPUT}>)
endfunction()
