# What an installation lays out: at run time the library, the tool and the Python package; for development the headers,
# the packages for CMake and pkg-config, the documents and the samples.
include(CMakePackageConfigHelpers)

set(VECTABLE_INSTALL_PYTHONDIR lib/python3/dist-packages CACHE STRING "Where the Python package goes, below the prefix")
file(STRINGS python/vectable/_version.py python_version REGEX "^__version__ = \"${PROJECT_VERSION}\"$")
if(NOT python_version)
    message(FATAL_ERROR "python/vectable/_version.py is not of version ${PROJECT_VERSION}")
endif()
set(config_dir ${CMAKE_INSTALL_LIBDIR}/cmake/VecTable)
file(RELATIVE_PATH VECTABLE_PC_TO_PREFIX /${CMAKE_INSTALL_LIBDIR}/pkgconfig /)

configure_package_config_file(cmake/VecTableConfig.cmake.in VecTableConfig.cmake INSTALL_DESTINATION ${config_dir})
write_basic_package_version_file(VecTableConfigVersion.cmake COMPATIBILITY SameMajorVersion)
configure_file(cmake/vectable.pc.in vectable.pc @ONLY)
configure_file(cmake/veccat.pc.in veccat.pc @ONLY)

install(TARGETS vectable veccat EXPORT VecTableTargets
    LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT runtime NAMELINK_COMPONENT development
    INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(DIRECTORY python/vectable DESTINATION ${VECTABLE_INSTALL_PYTHONDIR} COMPONENT runtime
    FILES_MATCHING PATTERN "*.py" PATTERN "py.typed" PATTERN "__pycache__" EXCLUDE)
if(VECTABLE_BUILD_TOOLS)
    install(TARGETS vectab RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT runtime)
    install(FILES tools/vectab/vectab.1 DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 COMPONENT runtime)
endif()

install(DIRECTORY include/vectable DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} COMPONENT development)
install(EXPORT VecTableTargets NAMESPACE VecTable:: DESTINATION ${config_dir} COMPONENT development)
install(FILES ${PROJECT_BINARY_DIR}/VecTableConfig.cmake ${PROJECT_BINARY_DIR}/VecTableConfigVersion.cmake
    DESTINATION ${config_dir} COMPONENT development)
install(FILES ${PROJECT_BINARY_DIR}/vectable.pc ${PROJECT_BINARY_DIR}/veccat.pc
    DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT development)
install(FILES README.md CHANGELOG.md DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT development)
install(DIRECTORY docs DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT development)
install(DIRECTORY examples/ DESTINATION ${CMAKE_INSTALL_DOCDIR}/examples COMPONENT development
    PATTERN make_samples EXCLUDE PATTERN CMakeLists.txt EXCLUDE)
