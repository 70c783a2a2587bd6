# The Debian package, made from a build directory with `cpack -G DEB`: kelvane_<version>_<arch>.deb
# installing under /usr. What it must hold is listed in packaging/contents.txt and checked by
# packaging/check.sh.
set(CPACK_PACKAGE_NAME kelvane)
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGE_CONTACT "Kelvane Developers <support@kelvane.org>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "two-player card game of sets and runs across the network")
set(CPACK_DEBIAN_PACKAGE_DESCRIPTION
    "Two players each run their own copy of Kelvane, on two machines or on one:\n\
one serves and deals, the other connects. Draw from the stack or take from the\n\
up pile, lay down sets and runs, lay cards off, discard; the first to 500 points\n\
wins. The players can chat.\n\
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
include(CPack)
