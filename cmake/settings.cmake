# One set of compiler settings for all that is ours. The presets make errors of warnings; who builds
# with another compiler may have others.
add_library(larkspur_settings INTERFACE)
target_compile_options(larkspur_settings INTERFACE -Wall -Wextra -Wconversion -Wshadow)
target_compile_definitions(larkspur_settings INTERFACE LARKSPUR_VERSION="${PROJECT_VERSION}")
# What nearly every source includes: compiled once for each target that has many sources. Each source
# still names what it needs; the preset asan builds without these and would tell.
set(LARKSPUR_COMMON_HEADERS
  <algorithm> <array> <functional> <memory> <optional> <span> <string> <string_view> <vector>)
if(WIN32)
  # NT 6.1 is what the oldest host runs on; the programs stand alone, without GCC's libraries.
  target_compile_definitions(larkspur_settings INTERFACE
    UNICODE _UNICODE NOMINMAX WIN32_LEAN_AND_MEAN _WIN32_WINNT=0x0601)
  target_link_options(larkspur_settings INTERFACE -static)
  add_link_options(-static)
endif()
if(NOT WIN32 AND NOT LARKSPUR_SANITIZE)
  # What makes a fault end the program rather than serve an attacker.
  target_compile_options(larkspur_settings INTERFACE
    -fstack-protector-strong $<$<NOT:$<CONFIG:Debug>>:-U_FORTIFY_SOURCE>
    $<$<NOT:$<CONFIG:Debug>>:-D_FORTIFY_SOURCE=2>)
  target_link_options(larkspur_settings INTERFACE -Wl,-z,relro,-z,now)
endif()
if(LARKSPUR_SANITIZE)
  add_compile_options(-fsanitize=${LARKSPUR_SANITIZE} -fno-sanitize-recover=all
    -fno-omit-frame-pointer -O1)
  add_link_options(-fsanitize=${LARKSPUR_SANITIZE})
endif()
if(LARKSPUR_FUZZ)
  add_compile_options(-fsanitize=fuzzer-no-link)
endif()
