# Flags that every target of ours shares, carried by one interface target.
add_library(vlmr_options INTERFACE)
target_compile_options(vlmr_options INTERFACE
  -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wnon-virtual-dtor -Woverloaded-virtual -Wcast-qual
  -Wformat=2 -Wimplicit-fallthrough -Wundef -Werror)

if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU" AND CMAKE_CXX_COMPILER_VERSION VERSION_LESS 13)
  # GCC 12 takes every joining of texts for an overlapping copy once it is inlined (its fault 105651).
  target_compile_options(vlmr_options INTERFACE -Wno-restrict)
endif()
if(CMAKE_CXX_COMPILER_ID STREQUAL "Clang")
  # Part of -Wconversion here, but not in GCC, by which the sources are kept clean.
  target_compile_options(vlmr_options INTERFACE -Wno-sign-conversion)
endif()
set(CMAKE_CXX_FLAGS_RELEASE "-O2 -DNDEBUG")

if(VLMR_SANITIZE)
  target_compile_options(vlmr_options INTERFACE -fsanitize=address,undefined -fno-sanitize-recover=all
    -fno-omit-frame-pointer)
  target_link_options(vlmr_options INTERFACE -fsanitize=address,undefined)
endif()

# Hardening of what is installed: the program reads what strangers send.
if(CMAKE_BUILD_TYPE STREQUAL "Release" AND NOT WIN32)
  target_compile_options(vlmr_options INTERFACE -U_FORTIFY_SOURCE -D_FORTIFY_SOURCE=3 -fstack-protector-strong
    -fstack-clash-protection -fcf-protection=full)
  target_link_options(vlmr_options INTERFACE -Wl,-z,relro,-z,now -Wl,-z,noexecstack)
  include(CheckPIESupported)
  check_pie_supported(LANGUAGES CXX)
endif()

if(WIN32)
  # Windows 7 and later; the system's functions in their wide form.
  target_compile_definitions(vlmr_options INTERFACE _WIN32_WINNT=0x0601 WIN32_LEAN_AND_MEAN NOMINMAX UNICODE _UNICODE)
  # The program lies at another address in each run, and no data is executed.
  target_link_options(vlmr_options INTERFACE -Wl,--dynamicbase,--high-entropy-va,--nxcompat)
  target_compile_options(vlmr_options INTERFACE -ffunction-sections -fdata-sections)
  target_link_libraries(vlmr_options INTERFACE ws2_32 advapi32 user32 ntdll)
endif()
