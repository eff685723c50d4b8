# Compiles the message file of a library into it.

find_package(Python3 3.11 REQUIRED COMPONENTS Interpreter)

# zelkor_add_messages(TARGET messages.toml [core/Errors.h]): the texts become part of TARGET. With the header of the
# identifiers, the build fails unless both lists agree.
function(zelkor_add_messages target file)
  cmake_path(ABSOLUTE_PATH file)
  set(header "${ARGN}")
  if(header)
    cmake_path(ABSOLUTE_PATH header)
  endif()
  set(script ${PROJECT_SOURCE_DIR}/tools/messages.py)
  set(output ${PROJECT_BINARY_DIR}/gen/${target}/Messages.cpp)
  add_custom_command(OUTPUT ${output}
    COMMAND Python3::Interpreter ${script} ${file} ${output} ${header}
    DEPENDS ${script} ${file} ${header}
    COMMENT "Compiling the messages of ${target}"
    VERBATIM)
  target_sources(${target} PRIVATE ${output})
endfunction()
