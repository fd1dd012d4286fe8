# Where the program, its manual page, completions and documents go, and what the packages are
# called. `cmake --install build` installs; `cpack` in the build directory makes both packages.

include(GNUInstallDirs)

configure_file(packaging/mod2neu.1.in mod2neu.1 @ONLY)

install(TARGETS mod2neu RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/mod2neu.1 DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)
install(FILES README.md DESTINATION ${CMAKE_INSTALL_DOCDIR})
install(FILES docs/model-file.md docs/neutral-file.md DESTINATION ${CMAKE_INSTALL_DOCDIR}/docs)
install(FILES packaging/mod2neu.bash
        DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions RENAME mod2neu)

# Debian's zsh looks for the completions of packages in a directory of its own. Which prefix is
# meant is only known when the files are copied: packages have another one than the build tree.
install(CODE "
    set(completions ${CMAKE_INSTALL_DATADIR}/zsh/site-functions)
    if(CMAKE_INSTALL_PREFIX MATCHES \"/usr$\" AND EXISTS /etc/debian_version)
        set(completions ${CMAKE_INSTALL_DATADIR}/zsh/vendor-completions)
    endif()
    file(INSTALL \"${CMAKE_CURRENT_SOURCE_DIR}/packaging/_mod2neu\"
         DESTINATION \"\${CMAKE_INSTALL_PREFIX}/\${completions}\")")

set(CPACK_GENERATOR DEB TGZ)
set(CPACK_PACKAGE_NAME mod2neu)
set(CPACK_PACKAGE_VENDOR "mod2neu maintainers")
set(CPACK_PACKAGE_CONTACT "mod2neu maintainers <mod2neu@example.org>")
set(CPACK_PACKAGE_DESCRIPTION
    "mod2neu reads a finite-element model database (.MOD) and writes the whole
model, from geometry to analysis results, as a Neutral file (.neu): a plain
text of numbered blocks that other programs can read.")
set(CPACK_PACKAGE_DIRECTORY ${CMAKE_BINARY_DIR}/packages)
set(CPACK_STRIP_FILES ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION science)
find_program(DPKG_SHLIBDEPS dpkg-shlibdeps)
if(DPKG_SHLIBDEPS)
    set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
endif()
include(CPack)
