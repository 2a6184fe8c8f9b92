# Flags that every target of ours shares, carried by one interface target.
add_library(vlmr_options INTERFACE)
target_compile_options(vlmr_options INTERFACE
  -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wnon-virtual-dtor -Woverloaded-virtual -Wcast-qual
  -Wformat=2 -Wimplicit-fallthrough -Wundef -Werror)

if(VLMR_SANITIZE)
  target_compile_options(vlmr_options INTERFACE -fsanitize=address,undefined -fno-sanitize-recover=all
    -fno-omit-frame-pointer)
  target_link_options(vlmr_options INTERFACE -fsanitize=address,undefined)
endif()

# Hardening of what is installed: the program reads what strangers send.
if(CMAKE_BUILD_TYPE STREQUAL "Release" AND NOT WIN32)
  target_compile_options(vlmr_options INTERFACE -D_FORTIFY_SOURCE=2 -fstack-protector-strong
    -fstack-clash-protection -fcf-protection=full)
  target_link_options(vlmr_options INTERFACE -Wl,-z,relro,-z,now -Wl,-z,noexecstack)
  include(CheckPIESupported)
  check_pie_supported(LANGUAGES CXX)
endif()
