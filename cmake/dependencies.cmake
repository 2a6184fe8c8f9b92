# Outside libraries, each behind a name of ours, so that one place says where they come from.
find_package(PkgConfig REQUIRED)
pkg_check_modules(CURL REQUIRED IMPORTED_TARGET libcurl>=7.88)
pkg_check_modules(ZIP REQUIRED IMPORTED_TARGET libzip>=1.7)
pkg_check_modules(SODIUM REQUIRED IMPORTED_TARGET libsodium>=1.0.18)
add_library(vlmr_curl ALIAS PkgConfig::CURL)
add_library(vlmr_zip ALIAS PkgConfig::ZIP)
add_library(vlmr_sodium ALIAS PkgConfig::SODIUM)
