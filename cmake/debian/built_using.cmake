# Run by CPack when the packages are made: adds the fields that it has no variable for. They name the
# source packages of what is linked statically: Built-Using those whose licences want their source to
# be had, Static-Built-Using the others.

# list_sources(VARIABLE FILE...): "glibc (= 2.36-9), ..." of the packages that the files belong to.
function(list_sources variable)
  set(sources)
  foreach(file IN LISTS ARGN)
    if(NOT IS_ABSOLUTE ${file})
      execute_process(COMMAND c++ -print-file-name=${file} OUTPUT_VARIABLE file
        OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
    endif()
    file(REAL_PATH ${file} file)
    execute_process(COMMAND dpkg-query -S ${file} OUTPUT_VARIABLE package
      COMMAND_ERROR_IS_FATAL ANY)
    string(REGEX REPLACE ": /.*" "" package "${package}")
    execute_process(COMMAND dpkg-query -W -f "\${source:Package} (= \${source:Version})" ${package}
      OUTPUT_VARIABLE source COMMAND_ERROR_IS_FATAL ANY)
    list(APPEND sources ${source})
  endforeach()
  list(REMOVE_DUPLICATES sources)
  list(SORT sources)
  list(JOIN sources ", " sources)
  set(${variable} ${sources} PARENT_SCOPE)
endfunction()

set(headers /usr/include)
list_sources(built_using libc.a libnettle.a libtsk.a)
list_sources(everywhere libgcc.a libstdc++.a libz.a ${headers}/CLI/CLI.hpp
  ${headers}/fmt/format.h ${headers}/nlohmann/json.hpp ${headers}/rapidxml/rapidxml.hpp
  ${headers}/stb/stb_image_write.h ${headers}/tl/expected.hpp)
foreach(package IN LISTS CPACK_PACKAGE_FILES)
  set(tree ${package}.tree)
  set(fields "Static-Built-Using: ${everywhere}\n")
  if(package MATCHES "/larkspur_")
    string(APPEND fields "Built-Using: ${built_using}\n")
  endif()
  file(REMOVE_RECURSE ${tree})
  execute_process(COMMAND dpkg-deb -R ${package} ${tree} COMMAND_ERROR_IS_FATAL ANY)
  file(READ ${tree}/DEBIAN/control control)
  string(STRIP "${control}" control)
  file(WRITE ${tree}/DEBIAN/control "${control}\n${fields}")
  execute_process(COMMAND dpkg-deb --root-owner-group -b ${tree} ${package}
    OUTPUT_QUIET COMMAND_ERROR_IS_FATAL ANY)
  file(REMOVE_RECURSE ${tree})
endforeach()
