# What `cmake --install` puts in place, and the Debian package made from it:
# the libraries, the headers a host compiles against (under include/so3d,
# with the tree's own paths, so that "module/so3d.h" is the umbrella), the
# tools, the demo effect, a CMake package (so3d::so3d, so3d::gles) and
# pkg-config files (so3d, so3d-gles).
include(CMakePackageConfigHelpers)

set(so3d_header_dirs platform/foundation platform/d3d9 platform/d3dx base objects textures scene render module)
if(TARGET so3d_gles)
  list(APPEND so3d_header_dirs backends/state backends/gles)
endif()
foreach(dir ${so3d_header_dirs})
  # The object-file reader's own headers stay inside.
  install(DIRECTORY ${dir}/ DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/so3d/${dir}
          FILES_MATCHING PATTERN "*.h" PATTERN "so_lwo_*" EXCLUDE PATTERN "CMakeFiles" EXCLUDE)
endforeach()

set(so3d_install_targets so3d)
if(TARGET so3d_gles)
  list(APPEND so3d_install_targets so3d_gles)
endif()
install(TARGETS ${so3d_install_targets} EXPORT so3dTargets
        LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
        ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR}
        RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
install(EXPORT so3dTargets NAMESPACE so3d:: DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/so3d)
configure_package_config_file(${CMAKE_CURRENT_LIST_DIR}/so3dConfig.cmake.in
                              ${CMAKE_BINARY_DIR}/so3dConfig.cmake
                              INSTALL_DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/so3d)
write_basic_package_version_file(${CMAKE_BINARY_DIR}/so3dConfigVersion.cmake COMPATIBILITY SameMinorVersion)
install(FILES ${CMAKE_BINARY_DIR}/so3dConfig.cmake ${CMAKE_BINARY_DIR}/so3dConfigVersion.cmake
        DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/so3d)

# Relocatable: the files find the prefix from where they lie.
file(RELATIVE_PATH so3d_pc_to_prefix "${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig" "${CMAKE_INSTALL_PREFIX}")
foreach(pc so3d so3d-gles)
  if(pc STREQUAL so3d OR TARGET so3d_gles)
    configure_file(${CMAKE_CURRENT_LIST_DIR}/${pc}.pc.in ${CMAKE_BINARY_DIR}/${pc}.pc @ONLY)
    install(FILES ${CMAKE_BINARY_DIR}/${pc}.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
  endif()
endforeach()

install(FILES README.md DESTINATION ${CMAKE_INSTALL_DOCDIR})

# The Debian package: `cpack -G DEB` in the build folder.
set(CPACK_PACKAGE_NAME so3d)
set(CPACK_PACKAGE_VENDOR "so3d")
set(CPACK_PACKAGE_CONTACT "so3d developers <so3d@localhost>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "${PROJECT_DESCRIPTION}")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION libs)
# The runtime libraries (a CPU rasteriser included, for machines without a
# GPU), and the EGL and GLES headers that the device's header needs, since
# the package also carries the development files.
set(CPACK_DEBIAN_PACKAGE_DEPENDS
    "libc6, libstdc++6, libgcc-s1, libpng16-16, libturbojpeg0, libgif7, libtiff6, libegl1, libgles2, libegl-mesa0, libgl1-mesa-dri, libegl-dev, libgles-dev, libgstreamer1.0-0, libgstreamer-plugins-base1.0-0")
include(CPack)
