# Installation in Debian's games layout and the two .deb packages built from it, split as
# Debian's games are: `herder` (program, launcher, menu entry, icons, manual page, metainfo) and
# the architecture-independent `herder-data` (models, textures, sounds, default settings).
#   <prefix>/games/herder             the launcher: runs the game in the player's own folder
#   <prefix>/lib/games/herder/herder  the game program
#   <prefix>/share/games/herder       the generated content and the default settings.ini
# plus the menu entry, icons rendered from our sheep model, AppStream metadata, the manual page
# and the package's copyright and changelog. The launcher finds program and data relative to
# itself, so any prefix works: `cmake --install` defaults to /usr/local, the package uses /usr.

set(HERDER_VERSION ${PROJECT_VERSION})
set(HERDER_RELEASE_DATE 2026-11-23)
# Whoever builds a package maintains it: named the way Debian's own tools (dch, debmake) take it.
# Without DEBFULLNAME and DEBEMAIL the field names the project alone: we have no address of our
# own to give, and an invented one would send mail nowhere.
if(DEFINED ENV{DEBFULLNAME} AND DEFINED ENV{DEBEMAIL})
    set(HERDER_MAINTAINER_DEFAULT "$ENV{DEBFULLNAME} <$ENV{DEBEMAIL}>")
else()
    set(HERDER_MAINTAINER_DEFAULT "The Herder developers")
endif()
set(HERDER_MAINTAINER ${HERDER_MAINTAINER_DEFAULT} CACHE STRING
    "Maintainer of the packages built here: Name <address>")
set(HERDER_APPSTREAM_ID org.example.herder)

set(HERDER_INSTALL_BINDIR games)
set(HERDER_INSTALL_GAMEDIR lib/games/herder)
set(HERDER_INSTALL_DATADIR share/games/herder)
set(HERDER_INSTALL_DOCDIR share/doc/herder)
set(HERDER_ICON_SIZES 16 24 32 48 64 128 256)

set(HERDER_PACKAGING_SOURCE ${CMAKE_SOURCE_DIR}/packaging)
set(HERDER_PACKAGING_OUT ${CMAKE_BINARY_DIR}/packaging)

# The launcher's way from its own folder to the program and the data.
file(RELATIVE_PATH HERDER_LAUNCHER_TO_GAME /prefix/${HERDER_INSTALL_BINDIR}
     /prefix/${HERDER_INSTALL_GAMEDIR})
file(RELATIVE_PATH HERDER_LAUNCHER_TO_DATA /prefix/${HERDER_INSTALL_BINDIR}
     /prefix/${HERDER_INSTALL_DATADIR})
# The launcher's --window checks the sizes the game takes: read from the game's own header.
file(STRINGS ${CMAKE_SOURCE_DIR}/include/WindowOption.h HERDER_WINDOW_FACTS
     REGEX "static constexpr")
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS
             ${CMAKE_SOURCE_DIR}/include/WindowOption.h)
foreach(fact ${HERDER_WINDOW_FACTS})
    if(fact MATCHES "int k([A-Za-z]+) = ([0-9]+);")
        set(HERDER_WINDOW_${CMAKE_MATCH_1} ${CMAKE_MATCH_2})
    elseif(fact MATCHES "kVariable = \"([A-Z_]+)\";")
        set(HERDER_WINDOW_VARIABLE ${CMAKE_MATCH_1})
    endif()
endforeach()
foreach(fact VARIABLE DefaultWidth DefaultHeight MinWidth MinHeight MaxSide)
    if(NOT DEFINED HERDER_WINDOW_${fact})
        message(FATAL_ERROR "include/WindowOption.h no longer names its ${fact}")
    endif()
endforeach()
execute_process(COMMAND date -R -u -d "${HERDER_RELEASE_DATE} 12:00"
                OUTPUT_VARIABLE HERDER_CHANGELOG_DATE OUTPUT_STRIP_TRAILING_WHITESPACE
                COMMAND_ERROR_IS_FATAL ANY)

configure_file(${HERDER_PACKAGING_SOURCE}/herder.in ${HERDER_PACKAGING_OUT}/herder @ONLY)
configure_file(${HERDER_PACKAGING_SOURCE}/herder.metainfo.xml.in
               ${HERDER_PACKAGING_OUT}/${HERDER_APPSTREAM_ID}.metainfo.xml @ONLY)
configure_file(${HERDER_PACKAGING_SOURCE}/herder.6.in ${HERDER_PACKAGING_OUT}/herder.6 @ONLY)
configure_file(${HERDER_PACKAGING_SOURCE}/changelog.in ${HERDER_PACKAGING_OUT}/changelog @ONLY)
# Manual page and changelog go compressed, as Debian ships them (-n: no time stamp inside).
foreach(text herder.6 changelog)
    execute_process(COMMAND gzip -9 -n -c ${HERDER_PACKAGING_OUT}/${text}
                    OUTPUT_FILE ${HERDER_PACKAGING_OUT}/${text}.gz COMMAND_ERROR_IS_FATAL ANY)
endforeach()

# The icons: the sheep model drawn by the model viewer, once per size.
set(HERDER_ICON_DIR ${HERDER_PACKAGING_OUT}/icons)
set(HERDER_ICON_FILES ${HERDER_ICON_SIZES})
list(TRANSFORM HERDER_ICON_FILES PREPEND ${HERDER_ICON_DIR}/)
list(TRANSFORM HERDER_ICON_FILES APPEND .png)
# In the sanitizer build the viewer would fail the build on the GL driver's allocations at exit.
add_custom_command(
    OUTPUT ${HERDER_ICON_FILES}
    COMMAND ${CMAKE_COMMAND} -E env ASAN_OPTIONS=detect_leaks=0
            ${HERDER_PACKAGING_SOURCE}/make-icons.sh $<TARGET_FILE:model-viewer> ${HERDER_DATA_DIR}
            ${HERDER_ICON_DIR} ${HERDER_ICON_SIZES}
    DEPENDS model-viewer ${HERDER_DATA_DIR}/.stamp ${HERDER_PACKAGING_SOURCE}/make-icons.sh
    COMMENT "Rendering the icons from the sheep model")
add_custom_target(icons ALL DEPENDS ${HERDER_ICON_FILES})
add_dependencies(icons assets)

# Two components, one per package: "game" for herder, "data" for herder-data.
install(TARGETS herder RUNTIME DESTINATION ${HERDER_INSTALL_GAMEDIR} COMPONENT game)
install(PROGRAMS ${HERDER_PACKAGING_OUT}/herder DESTINATION ${HERDER_INSTALL_BINDIR}
        COMPONENT game)
install(FILES ${HERDER_PACKAGING_SOURCE}/herder.desktop DESTINATION share/applications
        COMPONENT game)
install(FILES ${HERDER_PACKAGING_OUT}/${HERDER_APPSTREAM_ID}.metainfo.xml
        DESTINATION share/metainfo COMPONENT game)
foreach(size ${HERDER_ICON_SIZES})
    install(FILES ${HERDER_ICON_DIR}/${size}.png RENAME herder.png
            DESTINATION share/icons/hicolor/${size}x${size}/apps COMPONENT game)
endforeach()
install(FILES ${HERDER_PACKAGING_OUT}/herder.6.gz DESTINATION share/man/man6 COMPONENT game)
# Only what make-assets writes: the benchmark plays from the same folder and leaves its log.txt.
install(DIRECTORY ${HERDER_DATA_DIR}/ DESTINATION ${HERDER_INSTALL_DATADIR} COMPONENT data
        FILE_PERMISSIONS OWNER_READ OWNER_WRITE GROUP_READ WORLD_READ
        FILES_MATCHING PATTERN *.fbx PATTERN *.tga PATTERN *.wav PATTERN settings.ini)
# Every package carries its own copyright and changelog, as Debian asks.
foreach(component game data)
    set(docdir ${HERDER_INSTALL_DOCDIR})
    if(component STREQUAL data)
        set(docdir ${HERDER_INSTALL_DOCDIR}-data)
    endif()
    install(FILES ${HERDER_PACKAGING_SOURCE}/copyright ${HERDER_PACKAGING_OUT}/changelog.gz
            DESTINATION ${docdir} COMPONENT ${component})
endforeach()
# The compiler's version notes in .comment are of no use in an installed program.
if(CMAKE_OBJCOPY)
    add_custom_command(TARGET herder POST_BUILD
        COMMAND ${CMAKE_OBJCOPY} --remove-section=.comment $<TARGET_FILE:herder>)
endif()

# The packages: `cmake --build build --target package` writes build/herder_<version>_<arch>.deb
# and build/herder-data_<version>_all.deb.
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME herder)
set(CPACK_PACKAGE_VERSION ${HERDER_VERSION})
set(CPACK_PACKAGE_VENDOR "The Herder developers")
set(CPACK_PACKAGE_CONTACT ${HERDER_MAINTAINER})
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_COMPONENTS_ALL game data)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SOURCE herder)
set(CPACK_DEBIAN_PACKAGE_SECTION games)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_PACKAGE_MAINTAINER ${HERDER_MAINTAINER})
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
# The changelog is signed again with the maintainer in force when the packages are made.
set(CPACK_PRE_BUILD_SCRIPTS ${CMAKE_SOURCE_DIR}/cmake/HerderChangelog.cmake)
set(CPACK_HERDER_CHANGELOG_IN ${HERDER_PACKAGING_SOURCE}/changelog.in)
set(CPACK_HERDER_CHANGELOG_DATE ${HERDER_CHANGELOG_DATE})
set(CPACK_HERDER_DOCDIR ${HERDER_INSTALL_DOCDIR})
set(CPACK_DEBIAN_GAME_PACKAGE_NAME herder)
set(CPACK_DEBIAN_DATA_PACKAGE_NAME herder-data)
set(CPACK_DEBIAN_DATA_PACKAGE_ARCHITECTURE all)
set(CPACK_DEBIAN_DATA_PACKAGE_MULTIARCH foreign)
# The program reads exactly the content its own version generated.
set(CPACK_DEBIAN_GAME_PACKAGE_DEPENDS "herder-data (= ${HERDER_VERSION})")
# The program's other dependencies: dpkg-shlibdeps names the runtime packages of every library
# the game links.
set(CPACK_DEBIAN_GAME_PACKAGE_SHLIBDEPS ON)
set(HERDER_DESCRIPTION_BODY [=[A small single-player 3D action game. You steer a herder through one
outdoor level and gather a flock of six sheep with the herd command, while
every 30 seconds a wolf appears, seizes a sheep and drags it to its den.
Your rockets wound and kill wolves. You win while three sheep stand near
the goal marker; you lose when no sheep is left.]=])
set(CPACK_DEBIAN_GAME_DESCRIPTION "gather a flock of sheep while wolves hunt it
${HERDER_DESCRIPTION_BODY}

The game needs an X display with OpenGL; Mesa's software renderer is
enough. It plays full screen or, with --window, in a window.")
set(CPACK_DEBIAN_DATA_DESCRIPTION "gather a flock of sheep while wolves hunt it - game data
${HERDER_DESCRIPTION_BODY}

This package holds the game's models, textures, sounds and default
settings, all generated by the game's own content generator.")
include(CPack)

# The sanitizer build repeats the game's own tests; packaging is checked once, here.
if(HERDER_TESTS AND NOT HERDER_SANITIZE)
    # Install into a temporary root and play from the launcher; then the validators.
    add_test(NAME install_launcher
        COMMAND ${HERDER_PACKAGING_SOURCE}/test-install.sh ${CMAKE_BINARY_DIR}
                ${HERDER_PACKAGING_OUT}/test-install)
    set_tests_properties(install_launcher PROPERTIES RESOURCE_LOCK e2e TIMEOUT 180)
    # Build the package and let lintian judge it.
    add_test(NAME install_package
        COMMAND ${HERDER_PACKAGING_SOURCE}/test-package.sh ${CMAKE_BINARY_DIR}
                ${HERDER_PACKAGING_OUT}/test-package)
    set_tests_properties(install_package PROPERTIES TIMEOUT 300)
endif()
