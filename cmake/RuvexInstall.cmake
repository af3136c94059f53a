# cmake --install: of the component Runtime the programs, their manual pages, completions and example
# lists; of Development the archives, headers, CMake package, pkg-config file, guides and their
# programs.

include(CMakePackageConfigHelpers)

get_property(modules GLOBAL PROPERTY RUVEX_MODULES)
list(TRANSFORM modules PREPEND ruvex_ OUTPUT_VARIABLE libraries)
install(TARGETS ${libraries} EXPORT ruvex
        ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT Development)
install(EXPORT ruvex NAMESPACE ruvex:: DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/ruvex
        FILE ruvex-targets.cmake COMPONENT Development)
configure_file(${PROJECT_SOURCE_DIR}/cmake/ruvex-config.cmake.in
               ${PROJECT_BINARY_DIR}/ruvex-config.cmake @ONLY)
write_basic_package_version_file(${PROJECT_BINARY_DIR}/ruvex-config-version.cmake
                                 COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/ruvex-config.cmake
              ${PROJECT_BINARY_DIR}/ruvex-config-version.cmake
        DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/ruvex COMPONENT Development)

install(DIRECTORY ${PROJECT_SOURCE_DIR}/include/ DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}
        COMPONENT Development)

list(REVERSE libraries)  # those that stand above come first
list(TRANSFORM libraries PREPEND -l)
list(JOIN libraries " " libraries)
# Relative, since the prefix may be chosen as late as in `cmake --install --prefix`.
file(RELATIVE_PATH prefix_from_pkgconfig /prefix/${CMAKE_INSTALL_LIBDIR}/pkgconfig /prefix)
configure_file(${PROJECT_SOURCE_DIR}/cmake/ruvex.pc.in ${PROJECT_BINARY_DIR}/ruvex.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/ruvex.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig
        COMPONENT Development)

file(GLOB pages1 ${PROJECT_SOURCE_DIR}/docs/*.1)
file(GLOB pages5 ${PROJECT_SOURCE_DIR}/docs/*.5)
install(FILES ${pages1} DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 COMPONENT Runtime)
install(FILES ${pages5} DESTINATION ${CMAKE_INSTALL_MANDIR}/man5 COMPONENT Runtime)
install(FILES ${PROJECT_SOURCE_DIR}/completions/ruvexctl
        DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions COMPONENT Runtime)
install(FILES ${PROJECT_SOURCE_DIR}/completions/_ruvexctl
        DESTINATION ${CMAKE_INSTALL_DATADIR}/zsh/site-functions COMPONENT Runtime)
install(FILES ${PROJECT_SOURCE_DIR}/completions/ruvexctl.fish
        DESTINATION ${CMAKE_INSTALL_DATADIR}/fish/vendor_completions.d COMPONENT Runtime)
file(GLOB guides ${PROJECT_SOURCE_DIR}/docs/*.md)
install(FILES ${guides} DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT Development)
file(GLOB lists ${PROJECT_SOURCE_DIR}/examples/*.csv ${PROJECT_SOURCE_DIR}/examples/*.xml)
install(FILES ${lists} DESTINATION ${CMAKE_INSTALL_DOCDIR}/examples COMPONENT Runtime)
file(GLOB programs ${PROJECT_SOURCE_DIR}/examples/*.cpp)
install(FILES ${programs} DESTINATION ${CMAKE_INSTALL_DOCDIR}/examples COMPONENT Development)
