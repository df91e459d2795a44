# Imported targets are system headers: their warnings are not ours.
find_package(Threads REQUIRED)
find_package(Boost 1.74 REQUIRED COMPONENTS filesystem thread system)
find_package(Log4cpp REQUIRED)
find_package(ZLIB REQUIRED)
find_package(Fontconfig REQUIRED)
find_package(PkgConfig REQUIRED)
pkg_check_modules(woff2dec REQUIRED IMPORTED_TARGET libwoff2dec)
add_library(Woff2::decoder ALIAS PkgConfig::woff2dec)
