# Installing: a prefix that can be moved as a whole, in two components. "runtime" is what programs run with,
# "development" what they are built with.
include(CMakePackageConfigHelpers)

# A folder of its own: programs ask for <sycl/sycl.hpp>, and another <sycl/sycl.hpp> may stand beside ours.
set(QTX_INSTALL_HEADERS ${CMAKE_INSTALL_INCLUDEDIR}/qtx_sycl_stats)
set(QTX_INSTALL_CMAKE ${CMAKE_INSTALL_LIBDIR}/cmake/qtx_sycl_stats)
file(RELATIVE_PATH qtx_programs_to_libraries ${CMAKE_INSTALL_FULL_BINDIR} ${CMAKE_INSTALL_FULL_LIBDIR})

# qtx_search_libraries(TARGET PATH): where the file looks for libraries, relative to where it stands.
function(qtx_search_libraries target path)
  set_target_properties(${target} PROPERTIES INSTALL_RPATH ${path} BUILD_WITH_INSTALL_RPATH ON)
endfunction()

# qtx_install_program(TARGET): it finds the libraries of its own prefix, wherever that stands.
function(qtx_install_program target)
  qtx_search_libraries(${target} $ORIGIN/${qtx_programs_to_libraries})
  install(TARGETS ${target} RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT runtime)
endfunction()

# qtx_install_plug_in(TARGET): a library that is opened at run time and never linked.
function(qtx_install_plug_in target)
  qtx_search_libraries(${target} $ORIGIN)
  install(TARGETS ${target} LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT runtime)
endfunction()

# qtx_install_library(TARGET NAME [HEADERS FOLDER]): the library as qtx::NAME of the CMake package, and the public headers
# below FOLDER.
function(qtx_install_library target name)
  cmake_parse_arguments(arg "" "HEADERS" "" ${ARGN})
  set_target_properties(${target} PROPERTIES EXPORT_NAME ${name})
  get_target_property(type ${target} TYPE)
  if(NOT type STREQUAL "INTERFACE_LIBRARY")
    qtx_search_libraries(${target} $ORIGIN)
    target_include_directories(${target} INTERFACE $<INSTALL_INTERFACE:${QTX_INSTALL_HEADERS}>)
  endif()
  install(TARGETS ${target} EXPORT qtx_sycl_stats LIBRARY
    DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT runtime NAMELINK_COMPONENT development)
  if(arg_HEADERS)
    install(DIRECTORY ${arg_HEADERS}/ DESTINATION ${QTX_INSTALL_HEADERS} COMPONENT development
      FILES_MATCHING PATTERN "*.hpp" PATTERN "*.h")
  endif()
endfunction()

# What finds the libraries: the CMake package and the pkg-config files.
function(qtx_install_packages)
  install(EXPORT qtx_sycl_stats NAMESPACE qtx:: FILE qtx_sycl_statsTargets.cmake
    DESTINATION ${QTX_INSTALL_CMAKE} COMPONENT development)
  configure_package_config_file(cmake/qtx_sycl_statsConfig.cmake.in qtx_sycl_statsConfig.cmake
    INSTALL_DESTINATION ${QTX_INSTALL_CMAKE} NO_SET_AND_CHECK_MACRO)
  write_basic_package_version_file(qtx_sycl_statsConfigVersion.cmake COMPATIBILITY SameMajorVersion)
  install(FILES
    ${PROJECT_BINARY_DIR}/qtx_sycl_statsConfig.cmake ${PROJECT_BINARY_DIR}/qtx_sycl_statsConfigVersion.cmake
    DESTINATION ${QTX_INSTALL_CMAKE} COMPONENT development)

  set(pkg_config_folder ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
  file(RELATIVE_PATH pkg_config_to_prefix
    ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig ${CMAKE_INSTALL_PREFIX})
  string(REGEX REPLACE "/$" "" pkg_config_to_prefix ${pkg_config_to_prefix})
  foreach(file qtx_sycl_stats.pc qtx_omp_offload.pc)
    configure_file(cmake/${file}.in ${file} @ONLY)
    install(FILES ${PROJECT_BINARY_DIR}/${file} DESTINATION ${pkg_config_folder} COMPONENT development)
  endforeach()
endfunction()
