# SPDX-License-Identifier: GPL-3.0-or-later
# The Debian package, made from a build directory with `cpack -G DEB`: kelvane_<version>_<arch>.deb
# installing under /usr. What it must hold is listed in packaging/contents.txt and checked by
# packaging/check.sh.
set(CPACK_PACKAGE_NAME kelvane)
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGE_CONTACT "Kelvane Developers <support@kelvane.org>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "two-player card game of sets and runs across the network")
# Each line of the long description within Debian's 80 columns, its leading space counted.
set(CPACK_DEBIAN_PACKAGE_DESCRIPTION
    "Two players each run their own copy of Kelvane, on two machines or on one:\n\
one serves and deals, the other connects. Draw from the stack or take from the\n\
up pile, lay down sets and runs, lay cards off, discard; the first to 500\n\
points wins. The players can chat.\n\
.\n\
kelvane-bot, a computer opponent that plays over the same connection, lets one\n\
player play alone.")
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
# A release build carries debugging information; the package ships the programs without it.
set(CPACK_STRIP_FILES ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION games)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
# The libraries the programs link, found by dpkg-shlibdeps with the versions they need.
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
# The card faces; without them the window draws plain cards of its own.
set(CPACK_DEBIAN_PACKAGE_RECOMMENDS kdegames-card-data-kf5)

# What Debian asks of every package: the licence in the machine-readable copyright file, and the
# changelog, compressed (-n keeps the archive free of the build's time). The version's first
# entry is checked against the package's by packaging/check.sh.
set(KELVANE_DOCDIR ${CMAKE_INSTALL_DATADIR}/doc/kelvane)
install(FILES ${PROJECT_SOURCE_DIR}/packaging/copyright DESTINATION ${KELVANE_DOCDIR})
set(kelvane_changelog ${PROJECT_BINARY_DIR}/changelog.gz)
add_custom_command(
  OUTPUT ${kelvane_changelog}
  COMMAND gzip -9n -c ${PROJECT_SOURCE_DIR}/packaging/changelog > ${kelvane_changelog}
  DEPENDS ${PROJECT_SOURCE_DIR}/packaging/changelog
  VERBATIM)
add_custom_target(kelvane_changelog ALL DEPENDS ${kelvane_changelog})
install(FILES ${kelvane_changelog} DESTINATION ${KELVANE_DOCDIR})

include(CPack)
