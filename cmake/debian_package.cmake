# `cpack` in a build folder makes one Debian package of everything that is installed.
# What that package depends on is computed with the help of the packages dpkg-dev and file.
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME marl)
set(CPACK_PACKAGE_CONTACT "The Marl maintainers <marl@localhost>")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
include(CPack)
