# What is installed: the libraries, their public headers at the paths they have here, a CMake package and pkg-config
# files. The installed tree can be moved as a whole.

include(CMakePackageConfigHelpers)

set(CMAKE_INSTALL_RPATH "$ORIGIN" "$ORIGIN/../${CMAKE_INSTALL_LIBDIR}")
set(ZELKOR_INSTALL_CMAKEDIR ${CMAKE_INSTALL_LIBDIR}/cmake/zelkor)
set(ZELKOR_INSTALL_DATADIR ${CMAKE_INSTALL_DATADIR}/zelkor)

# zelkor_install_library(NAME HEADERS file... [WITHOUT folder...])
#
# Installs the library NAME as the target NAME::NAME of the package. HEADERS are those that its users include, or that
# code generated for them does; all others are its own. Generated headers are public but for those of the named folders.
function(zelkor_install_library name)
  cmake_parse_arguments(arg "" "" "HEADERS;WITHOUT" ${ARGN})
  install(TARGETS ${name} EXPORT ${name}Targets
    RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR}
    LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR})
  install(EXPORT ${name}Targets NAMESPACE ${name}:: DESTINATION ${ZELKOR_INSTALL_CMAKEDIR})
  foreach(header IN LISTS arg_HEADERS)
    cmake_path(GET header PARENT_PATH folder)
    install(FILES ${header} DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/${name}/${folder})
  endforeach()
  list(TRANSFORM arg_WITHOUT REPLACE "(.+)" "PATTERN;\\1;EXCLUDE")
  install(DIRECTORY ${PROJECT_BINARY_DIR}/gen/${name} DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}
    FILES_MATCHING PATTERN "*.h" ${arg_WITHOUT})
  set_property(GLOBAL APPEND PROPERTY ZELKOR_INSTALLED_LIBRARIES ${name})
endfunction()

# Called once, after the libraries: what describes them to others.
function(zelkor_install_package)
  get_property(libraries GLOBAL PROPERTY ZELKOR_INSTALLED_LIBRARIES)
  set(ZELKOR_LIBRARIES ${libraries})
  configure_package_config_file(${PROJECT_SOURCE_DIR}/packaging/zelkorConfig.cmake.in
    ${PROJECT_BINARY_DIR}/package/zelkorConfig.cmake INSTALL_DESTINATION ${ZELKOR_INSTALL_CMAKEDIR}
    PATH_VARS ZELKOR_INSTALL_DATADIR)
  # The version of the schema is in the layout of the objects, so a program fits one minor version.
  write_basic_package_version_file(${PROJECT_BINARY_DIR}/package/zelkorConfigVersion.cmake
    COMPATIBILITY SameMinorVersion)
  install(FILES ${PROJECT_BINARY_DIR}/package/zelkorConfig.cmake ${PROJECT_BINARY_DIR}/package/zelkorConfigVersion.cmake
    DESTINATION ${ZELKOR_INSTALL_CMAKEDIR})

  # The generator and the schemas, for classes that others derive from ours.
  install(FILES ${PROJECT_SOURCE_DIR}/cmake/TavoGenerate.cmake DESTINATION ${ZELKOR_INSTALL_CMAKEDIR})
  install(DIRECTORY ${PROJECT_SOURCE_DIR}/tools/tavogen DESTINATION ${ZELKOR_INSTALL_DATADIR}
    FILES_MATCHING PATTERN "*.py" PATTERN __pycache__ EXCLUDE)
  foreach(library ${libraries})
    get_property(schemas TARGET ${library} PROPERTY TAVO_SCHEMAS)
    foreach(schema IN LISTS schemas)
      cmake_path(RELATIVE_PATH schema BASE_DIRECTORY ${PROJECT_SOURCE_DIR}/src OUTPUT_VARIABLE place)
      cmake_path(GET place PARENT_PATH place)
      install(FILES ${schema} DESTINATION ${ZELKOR_INSTALL_DATADIR}/schemas/${place})
    endforeach()
  endforeach()

  install(FILES ${PROJECT_SOURCE_DIR}/README.md DESTINATION ${CMAKE_INSTALL_DOCDIR})
  install(DIRECTORY ${PROJECT_SOURCE_DIR}/docs ${PROJECT_SOURCE_DIR}/examples DESTINATION ${CMAKE_INSTALL_DOCDIR})
  install(DIRECTORY ${PROJECT_BINARY_DIR}/gen/docs/ DESTINATION ${CMAKE_INSTALL_DOCDIR}/reference
    FILES_MATCHING PATTERN "zelkor_*.md")

  set(pkgconfig_dir ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
  file(RELATIVE_PATH PC_PREFIX /prefix/${pkgconfig_dir} /prefix)
  foreach(library ${libraries})
    set(PC_NAME ${library})
    get_target_property(linked ${library} INTERFACE_LINK_LIBRARIES)
    set(PC_REQUIRES "")
    foreach(other ${libraries})
      if("${other}::${other}" IN_LIST linked)
        string(APPEND PC_REQUIRES " ${other}")
      endif()
    endforeach()
    configure_file(${PROJECT_SOURCE_DIR}/packaging/library.pc.in ${PROJECT_BINARY_DIR}/package/${library}.pc @ONLY)
    install(FILES ${PROJECT_BINARY_DIR}/package/${library}.pc DESTINATION ${pkgconfig_dir})
  endforeach()
endfunction()
