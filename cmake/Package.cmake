# The Debian package: "cpack" in the build folder makes corvantis_VERSION_ARCHITECTURE.deb.
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME corvantis)
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGE_CONTACT "the Corvantis developers <corvantis@corvantis.invalid>")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SECTION games)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_PACKAGE_RECOMMENDS xboard)
set(CPACK_DEBIAN_PACKAGE_SUGGESTS polyglot)
set(CPACK_DEBIAN_PACKAGE_DESCRIPTION "chess engine for xboard and UCI front ends
Corvantis plays and analyses chess for a graphical front end such as XBoard,
or for a person who types moves at a console. It understands the xboard and
the UCI protocol.
.
It is a single-threaded alpha-beta searcher on bitboards with a hand-written
evaluation, an opening book that learns from its games, and endgame
tablebases. Tools to make books of one's own games and tablebases are
included.")
set(CPACK_PRE_BUILD_SCRIPTS ${CMAKE_SOURCE_DIR}/cmake/FinishPackage.cmake)
set(CPACK_CORVANTIS_STRIP ${CMAKE_STRIP})
set(CPACK_CORVANTIS_CHANGELOG ${CMAKE_SOURCE_DIR}/packaging/debian/changelog)
include(CPack)
