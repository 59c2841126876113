# The installed package: library, public headers, package files for find_package(corvane CONFIG), and the tool. It may
# be moved as a whole.
include(CMakePackageConfigHelpers)

set(package_dir "${CMAKE_INSTALL_LIBDIR}/cmake/corvane")

install(TARGETS corvane EXPORT corvaneTargets LIBRARY DESTINATION "${CMAKE_INSTALL_LIBDIR}"
                                              ARCHIVE DESTINATION "${CMAKE_INSTALL_LIBDIR}")
install(EXPORT corvaneTargets NAMESPACE corvane:: DESTINATION "${package_dir}")

configure_package_config_file("${PROJECT_SOURCE_DIR}/cmake/corvaneConfig.cmake.in"
                              "${PROJECT_BINARY_DIR}/corvaneConfig.cmake" INSTALL_DESTINATION "${package_dir}")
write_basic_package_version_file("${PROJECT_BINARY_DIR}/corvaneConfigVersion.cmake" COMPATIBILITY SameMinorVersion)
install(FILES "${PROJECT_BINARY_DIR}/corvaneConfig.cmake" "${PROJECT_BINARY_DIR}/corvaneConfigVersion.cmake"
        DESTINATION "${package_dir}")
install(FILES "${PROJECT_SOURCE_DIR}/LICENSE" DESTINATION "${CMAKE_INSTALL_DOCDIR}")

# Our headers of object types are installed as far as a program's own model uses them.
get_property(public_headers GLOBAL PROPERTY CORVANE_PUBLIC_HEADERS)
if(CORVANE_MODEL_DIR)
  corvane_find_used_headers(used_headers)
endif()
foreach(header ${public_headers})
  cmake_path(GET header PARENT_PATH folder)
  if(NOT CORVANE_MODEL_DIR OR NOT folder STREQUAL "model" OR header IN_LIST used_headers)
    install(FILES "${PROJECT_SOURCE_DIR}/${header}" DESTINATION "${CMAKE_INSTALL_INCLUDEDIR}/corvane/${folder}")
  endif()
endforeach()
if(CORVANE_MODEL_DIR)
  install(DIRECTORY "${CORVANE_MODEL_DIR}/model" DESTINATION "${CMAKE_INSTALL_INCLUDEDIR}/corvane"
          FILES_MATCHING PATTERN "*.h")
endif()

if(TARGET corvane_cli)
  install(TARGETS corvane_cli RUNTIME DESTINATION "${CMAKE_INSTALL_BINDIR}")
endif()
if(TARGET corvane_mesh)
  install(TARGETS corvane_mesh RUNTIME DESTINATION "${CMAKE_INSTALL_BINDIR}")
  install(FILES "${PROJECT_SOURCE_DIR}/tools/mesher/README.md" DESTINATION "${CMAKE_INSTALL_DOCDIR}"
          RENAME corvane-mesh.md)
endif()
