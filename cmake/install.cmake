# What cmake --install puts where: component cli is the command line with its manual, host (on
# Windows) the host application and the module, docs the documents with their pictures, on Windows as
# web pages. Then CPack's Debian package of it.
include(GNUInstallDirs)
if(WIN32)
  set(programs .)
  set(documents .)
else()
  set(programs ${CMAKE_INSTALL_BINDIR})
  set(documents ${CMAKE_INSTALL_DOCDIR})
endif()

install(TARGETS larkspur RUNTIME DESTINATION ${programs} COMPONENT cli)
if(WIN32)
  install(TARGETS larkspur-host RUNTIME DESTINATION ${programs} COMPONENT host)
  install(TARGETS larkspur_module LIBRARY DESTINATION ${programs} COMPONENT host)
endif()
if(WIN32)
  set(license_name LICENSE.txt)  # which a double click opens, as it does the pages below
else()
  set(license_name LICENSE)
endif()
set(front README.md CONTRIBUTING.md CHANGELOG.md)
install(FILES LICENSE DESTINATION ${documents} RENAME ${license_name} COMPONENT docs)
install(FILES ${CMAKE_SOURCE_DIR}/cmake/third-party-notices.txt DESTINATION ${documents}
  COMPONENT docs)
install(DIRECTORY docs DESTINATION ${documents} COMPONENT docs
  FILES_MATCHING PATTERN "*.png" PATTERN "*.[ch]" PATTERN man EXCLUDE)
find_package(Python3 COMPONENTS Interpreter)
find_program(CMARK_GFM cmark-gfm)
if(WIN32 AND CMARK_GFM AND Python3_FOUND)
  set(pages ${CMAKE_BINARY_DIR}/pages)
  file(GLOB_RECURSE texts CONFIGURE_DEPENDS docs/*.md)
  add_custom_command(OUTPUT ${pages}/README.html
    COMMAND ${CMAKE_COMMAND} -E rm -rf ${pages}
    COMMAND Python3::Interpreter tools/make_pages.py . ${pages}
    DEPENDS tools/make_pages.py ${front} ${texts} WORKING_DIRECTORY ${CMAKE_SOURCE_DIR})
  add_custom_target(larkspur-documents ALL DEPENDS ${pages}/README.html)
  install(DIRECTORY ${pages}/ DESTINATION ${documents} COMPONENT docs)
else()
  if(WIN32)
    message(STATUS "cmark-gfm or Python is missing: the documents are installed as Markdown")
  endif()
  install(FILES ${front} DESTINATION ${documents} COMPONENT docs)
  install(DIRECTORY docs DESTINATION ${documents} COMPONENT docs
    FILES_MATCHING PATTERN "*.md" PATTERN man EXCLUDE)
endif()

if(NOT WIN32)
  # The plugin is a package of its own, since it needs nbdkit, and the program does not.
  if(TARGET nbdkit-larkspur-plugin)
    install(TARGETS nbdkit-larkspur-plugin LIBRARY
      DESTINATION lib/${CMAKE_LIBRARY_ARCHITECTURE}/nbdkit/plugins COMPONENT nbdkit)
  endif()
  # No one's mailbox, on purpose: whoever gives the packages to others sets their own.
  set(LARKSPUR_MAINTAINER "The Larkspur authors <no-reply@larkspur.invalid>" CACHE STRING
    "Who answers for the Debian packages, as Name <address>")
  string(TIMESTAMP LARKSPUR_DATE "%a, %d %b %Y %H:%M:%S +0000" UTC)
  configure_file(cmake/debian/changelog.in debian/changelog.Debian @ONLY)
  find_package(Python3 REQUIRED COMPONENTS Interpreter)
  add_custom_command(OUTPUT debian/larkspur.1
    COMMAND Python3::Interpreter tools/make_manual.py docs/man/larkspur.1.in
      ${CMAKE_BINARY_DIR}/debian/larkspur.1 $<TARGET_FILE:larkspur>
    DEPENDS larkspur tools/make_manual.py docs/man/larkspur.1.in
    WORKING_DIRECTORY ${CMAKE_SOURCE_DIR})
  # Compressed as Debian has it; without a time of day, so that the bytes stay the same.
  foreach(page "${CMAKE_BINARY_DIR}/debian/larkspur.1" "${CMAKE_BINARY_DIR}/debian/changelog.Debian")
    get_filename_component(name ${page} NAME)
    add_custom_command(OUTPUT debian/${name}.gz
      COMMAND gzip -9nc ${page} > ${CMAKE_BINARY_DIR}/debian/${name}.gz
      DEPENDS ${page} WORKING_DIRECTORY ${CMAKE_SOURCE_DIR})
    list(APPEND compressed ${CMAKE_BINARY_DIR}/debian/${name}.gz)
  endforeach()
  add_custom_target(larkspur-documents ALL DEPENDS ${compressed})
  install(FILES ${CMAKE_BINARY_DIR}/debian/larkspur.1.gz
    DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 COMPONENT cli)
  install(FILES ${CMAKE_BINARY_DIR}/debian/changelog.Debian.gz cmake/debian/copyright
    DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT docs)
  # Of what the program is linked with statically, as Debian has them.
  foreach(notice libc6:glibc nettle:nettle libtsk:sleuthkit)
    string(REPLACE ":" ";" notice ${notice})
    list(GET notice 0 library)
    list(GET notice 1 name)
    install(FILES /usr/share/doc/${library}-dev/copyright RENAME ${name}
      DESTINATION ${CMAKE_INSTALL_DOCDIR}/notices COMPONENT docs OPTIONAL)
  endforeach()
  install(FILES cmake/debian/larkspur.lintian-overrides RENAME larkspur
    DESTINATION ${CMAKE_INSTALL_DATADIR}/lintian/overrides COMPONENT cli)
  install(FILES cmake/debian/nbdkit-plugin-larkspur.lintian-overrides RENAME nbdkit-plugin-larkspur
    DESTINATION ${CMAKE_INSTALL_DATADIR}/lintian/overrides COMPONENT nbdkit)
  install(FILES completions/larkspur.bash RENAME larkspur
    DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions COMPONENT cli)
  install(FILES completions/_larkspur
    DESTINATION ${CMAKE_INSTALL_DATADIR}/zsh/vendor-completions COMPONENT cli)
  install(FILES completions/larkspur.fish
    DESTINATION ${CMAKE_INSTALL_DATADIR}/fish/vendor_completions.d COMPONENT cli)

  set(plugin_documents ${CMAKE_INSTALL_DATADIR}/doc/nbdkit-plugin-larkspur)
  install(FILES ${CMAKE_BINARY_DIR}/debian/changelog.Debian.gz cmake/debian/copyright
    DESTINATION ${plugin_documents} COMPONENT nbdkit)

  set(CPACK_GENERATOR DEB)
  set(CPACK_DEB_COMPONENT_INSTALL ON)
  set(CPACK_COMPONENTS_GROUPING ONE_PER_GROUP)
  set(CPACK_COMPONENT_CLI_GROUP larkspur)
  set(CPACK_COMPONENT_DOCS_GROUP larkspur)
  set(CPACK_COMPONENT_NBDKIT_GROUP nbdkit)
  set(CPACK_COMPONENTS_ALL cli docs nbdkit)
  set(CPACK_DEBIAN_LARKSPUR_PACKAGE_NAME larkspur)
  set(CPACK_DEBIAN_LARKSPUR_PACKAGE_SUGGESTS nbdkit-plugin-larkspur)
  set(CPACK_DEBIAN_NBDKIT_PACKAGE_NAME nbdkit-plugin-larkspur)
  set(CPACK_DEBIAN_NBDKIT_PACKAGE_DEPENDS nbdkit)
  set(CPACK_DEBIAN_NBDKIT_PACKAGE_SHLIBDEPS ON)
  set(CPACK_DEBIAN_NBDKIT_PACKAGE_RECOMMENDS larkspur)
  # The first line is the synopsis.
  string(CONCAT CPACK_DEBIAN_NBDKIT_DESCRIPTION
    "nbdkit plugin that reads a failing disk only once\n"
    "This plugin for nbdkit shows a failing disk, or what a cache has of one, as a\n"
    "network block device. Each sector that a client asks for is read from the\n"
    "disk once and kept in the cache. The command 'larkspur serve' starts it.")
  set(CPACK_PACKAGE_NAME larkspur)
  set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
  string(CONCAT CPACK_DEBIAN_LARKSPUR_DESCRIPTION
    "read a failing disk only once, into a sparse cache\n"
    "Larkspur reads a failing disk once and keeps everything that it gets in a\n"
    "sparse cache file, from which every later look is served. Interrupted work\n"
    "resumes where it stopped. Maps, partitions and raw images come from the cache.")
  set(CPACK_PACKAGE_CONTACT "${LARKSPUR_MAINTAINER}")
  set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
  set(CPACK_POST_BUILD_SCRIPTS ${CMAKE_SOURCE_DIR}/cmake/debian/built_using.cmake)
  set(CPACK_DEBIAN_PACKAGE_RELEASE 1)
  set(CPACK_DEBIAN_PACKAGE_SECTION admin)
  set(CPACK_STRIP_FILES ON)
  set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
    OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
  include(CPack)
endif()
