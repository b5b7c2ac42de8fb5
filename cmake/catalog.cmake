# The language packs: built from their readable sources and compiled into the core.
find_package(Python3 REQUIRED COMPONENTS Interpreter)
file(GLOB text_sources CONFIGURE_DEPENDS ${CMAKE_SOURCE_DIR}/src/catalog/texts/*.json)
set(packs_source ${CMAKE_BINARY_DIR}/catalog/packs_generated.cpp)
file(MAKE_DIRECTORY ${CMAKE_BINARY_DIR}/catalog)
add_custom_command(
  OUTPUT ${packs_source}
  COMMAND Python3::Interpreter ${CMAKE_SOURCE_DIR}/tools/build_packs.py
    ${CMAKE_SOURCE_DIR}/src/catalog/texts ${packs_source}
  DEPENDS ${CMAKE_SOURCE_DIR}/tools/build_packs.py ${text_sources}
  COMMENT "Building the language packs")
target_sources(larkspur_core PRIVATE ${packs_source})
