# Manual pages, bash completion, the package's documents, and the Debian
# package (`cpack -G DEB` in the build folder). The package takes every
# install() rule of the project, so whatever a part installs is in it.

include(GNUInstallDirs)

# Manual pages and the changelog go in gzip-compressed, as Debian wants them;
# -n keeps the archive free of names and times, so a rebuild is identical.
find_program(FERROX_GZIP gzip REQUIRED)
set(ferrox_gzipped "")
function(ferrox_gzip source target)
  set(out ${CMAKE_BINARY_DIR}/packaging/${target})
  get_filename_component(dir ${out} DIRECTORY)
  add_custom_command(OUTPUT ${out}
    COMMAND ${CMAKE_COMMAND} -E make_directory ${dir}
    COMMAND ${FERROX_GZIP} -9n -c ${CMAKE_SOURCE_DIR}/${source} > ${out}
    DEPENDS ${CMAKE_SOURCE_DIR}/${source} VERBATIM)
  set(ferrox_gzipped ${ferrox_gzipped} ${out} PARENT_SCOPE)
endfunction()

ferrox_gzip(doc/ferrox.1 man/ferrox.1.gz)
ferrox_gzip(doc/ja/ferrox.1 man/ja/ferrox.1.gz)
ferrox_gzip(packaging/changelog changelog.gz)
if(FERROX_GUI)
  ferrox_gzip(doc/ferrox-gui.1 man/ferrox-gui.1.gz)
  install(FILES ${CMAKE_BINARY_DIR}/packaging/man/ferrox-gui.1.gz DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)
endif()
add_custom_target(ferrox_docs ALL DEPENDS ${ferrox_gzipped})

install(FILES ${CMAKE_BINARY_DIR}/packaging/man/ferrox.1.gz DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)
install(FILES ${CMAKE_BINARY_DIR}/packaging/man/ja/ferrox.1.gz DESTINATION ${CMAKE_INSTALL_MANDIR}/ja/man1)
install(FILES packaging/ferrox.bash DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions
        RENAME ferrox)
install(FILES packaging/copyright ${CMAKE_BINARY_DIR}/packaging/changelog.gz
        DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/ferrox)

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME ferrox)
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGE_CONTACT "The Ferrox developers <ferrox@example.org>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "Macintosh and Unix file converter for Japanese Windows users")
set(CPACK_PACKAGE_DESCRIPTION
    "Ferrox unwraps Mac files (MacBinary, BinHex 4.0, AppleSingle and
AppleDouble sidecars), naming the data fork from the Mac name, type and
creator; tells text from binary; detects line ends and the Japanese code
(Shift JIS, JIS, EUC, UTF-8); and writes Shift JIS text with CR LF, mapping
Apple's extension codes and gaiji through a table and optionally folding
lines. It converts one file, a folder tree, a wildcard or a list in one run,
and works in pipes.
.
This package holds the command ferrox and the desktop program ferrox-gui.")
set(CPACK_PACKAGING_INSTALL_PREFIX ${CMAKE_INSTALL_PREFIX})
set(CPACK_STRIP_FILES ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION utils)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
# The libraries the programs link (Qt, the C++ runtime) as dpkg-shlibdeps
# finds them; glibc's gconv modules, which hold CP932 for iconv, come with libc6,
# which dpkg-shlibdeps always lists.
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
include(CPack)
