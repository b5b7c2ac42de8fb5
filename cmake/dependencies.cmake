# The libraries that we call. The header-only ones serve both targets: they are linked into a
# folder of their own, because a cross build must not see the rest of /usr/include.
set(LARKSPUR_HEADERS ${CMAKE_BINARY_DIR}/headers)
file(MAKE_DIRECTORY ${LARKSPUR_HEADERS})
if(NOT WIN32 AND NOT EXISTS /usr/include/nettle)
  message(FATAL_ERROR "The headers of nettle are missing: run scripts/setup")
endif()
foreach(library CLI nlohmann fmt stb rapidxml)
  if(NOT EXISTS /usr/include/${library})
    message(FATAL_ERROR "The headers of ${library} are missing: run scripts/setup")
  endif()
  file(CREATE_LINK /usr/include/${library} ${LARKSPUR_HEADERS}/${library} SYMBOLIC)
endforeach()

add_library(larkspur_headers INTERFACE)
target_include_directories(larkspur_headers SYSTEM INTERFACE ${LARKSPUR_HEADERS})
target_compile_definitions(larkspur_headers INTERFACE FMT_HEADER_ONLY)

# Windows programs and the module stand alone: the library itself, not the import library of a DLL.
if(WIN32)
  set(CMAKE_FIND_LIBRARY_SUFFIXES .a)
endif()
find_package(ZLIB REQUIRED)
