# Debian packages: `cpack` in a build folder configured for the prefix /usr (preset "package") makes one of
# what programs run with and one of what they are built with.

# Every package brings its terms.
function(qtx_install_terms package component)
  install(FILES ${PROJECT_SOURCE_DIR}/cmake/debian/copyright
    DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/${package} COMPONENT ${component})
endfunction()
qtx_install_terms(libqtx-sycl-stats4 runtime)
qtx_install_terms(libqtx-sycl-stats-dev development)

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_VENDOR "qtx_sycl_stats")
set(CPACK_PACKAGE_CONTACT "qtx_sycl_stats maintainers <maintainers@localhost>" CACHE STRING
  "Who answers for the packages")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_COMPONENTS_ALL runtime development)
set(CPACK_DEB_COMPONENT_INSTALL ON)

set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION libs)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)

set(CPACK_DEBIAN_RUNTIME_PACKAGE_NAME libqtx-sycl-stats4)
set(CPACK_COMPONENT_RUNTIME_DESCRIPTION "The library, the run-time that it stands on, and the program qtx-describe.")
# The libraries of the package itself are no dependencies of it, and other packages learn of them by its shlibs file.
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${CMAKE_LIBRARY_OUTPUT_DIRECTORY})
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS_POLICY ">=")
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SUGGESTS pocl-opencl-icd)

set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME libqtx-sycl-stats-dev)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_COMPONENT_DEVELOPMENT_DESCRIPTION "Headers, the CMake package qtx_sycl_stats and the pkg-config files.")
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS "libqtx-sycl-stats4 (= ${PROJECT_VERSION})")

include(CPack)
