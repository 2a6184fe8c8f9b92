# Outside libraries, each behind a name of ours, so that one place says where they come from: Debian's packages on Linux, the
# static archives of script/bootstrap_windows for Windows.
if(WIN32)
  find_package(ZLIB REQUIRED)
  find_package(CURL CONFIG REQUIRED)
  find_package(libzip CONFIG REQUIRED)
  add_library(vlmr_curl ALIAS CURL::libcurl)
  add_library(vlmr_zip ALIAS libzip::zip)
  add_library(vlmr_sodium STATIC IMPORTED)
  set_target_properties(vlmr_sodium PROPERTIES
    IMPORTED_LOCATION ${VLMR_WINDOWS_SYSROOT}/lib/libsodium.a
    INTERFACE_INCLUDE_DIRECTORIES ${VLMR_WINDOWS_SYSROOT}/include
    INTERFACE_COMPILE_DEFINITIONS SODIUM_STATIC=1)
else()
  find_package(PkgConfig REQUIRED)
  pkg_check_modules(CURL REQUIRED IMPORTED_TARGET libcurl>=7.88)
  pkg_check_modules(ZIP REQUIRED IMPORTED_TARGET libzip>=1.7)
  pkg_check_modules(SODIUM REQUIRED IMPORTED_TARGET libsodium>=1.0.18)
  add_library(vlmr_curl ALIAS PkgConfig::CURL)
  add_library(vlmr_zip ALIAS PkgConfig::ZIP)
  add_library(vlmr_sodium ALIAS PkgConfig::SODIUM)
endif()
