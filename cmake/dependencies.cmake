# The libraries that we call. The header-only ones serve both targets: they are linked into a
# folder of their own, because a cross build must not see the rest of the folder that they lie in.
# -DLARKSPUR_CLI_INCLUDE=... and the like name another place for one.
set(LARKSPUR_HEADERS ${CMAKE_BINARY_DIR}/headers)
file(MAKE_DIRECTORY ${LARKSPUR_HEADERS})
if(NOT WIN32)
  foreach(library nettle tsk)
    if(NOT EXISTS /usr/include/${library})
      message(FATAL_ERROR "The headers of ${library} are missing: run scripts/setup")
    endif()
  endforeach()
endif()
if(NOT WIN32 AND NOT EXISTS /usr/include/nbdkit-plugin.h)
  message(FATAL_ERROR "The header of nbdkit's plugins is missing: run scripts/setup")
endif()
function(larkspur_take_headers folder header package)
  find_path(LARKSPUR_${folder}_INCLUDE ${folder}/${header}
    PATHS /usr/local/include /usr/include NO_CMAKE_FIND_ROOT_PATH)
  if(NOT LARKSPUR_${folder}_INCLUDE)
    message(FATAL_ERROR
      "${folder}/${header} is missing: install ${package}, or set LARKSPUR_${folder}_INCLUDE")
  endif()
  file(CREATE_LINK ${LARKSPUR_${folder}_INCLUDE}/${folder} ${LARKSPUR_HEADERS}/${folder} SYMBOLIC)
endfunction()
larkspur_take_headers(CLI CLI.hpp libcli11-dev)
larkspur_take_headers(nlohmann json.hpp nlohmann-json3-dev)
larkspur_take_headers(fmt format-inl.h libfmt-dev)
larkspur_take_headers(stb stb_image_write.h libstb-dev)
larkspur_take_headers(rapidxml rapidxml.hpp librapidxml-dev)
larkspur_take_headers(tl expected.hpp libexpected-dev)

add_library(larkspur_headers INTERFACE)
target_include_directories(larkspur_headers SYSTEM INTERFACE ${LARKSPUR_HEADERS})

# fmt is compiled once, for whichever system this is.
add_library(larkspur_fmt STATIC ${CMAKE_CURRENT_LIST_DIR}/fmt_library.cpp)
target_link_libraries(larkspur_fmt PRIVATE larkspur_headers)
target_link_libraries(larkspur_headers INTERFACE $<LINK_ONLY:larkspur_fmt>)

# Windows programs and the module stand alone: the library itself, not the import library of a DLL.
if(WIN32)
  set(CMAKE_FIND_LIBRARY_SUFFIXES .a)
endif()
find_package(ZLIB REQUIRED)
