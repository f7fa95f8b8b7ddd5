# Everything the library links; the README says what each is for.

find_package(Qt5 5.15 QUIET REQUIRED COMPONENTS Core Gui Widgets Network Svg X11Extras)
find_package(OpenSSL 1.1 QUIET REQUIRED COMPONENTS Crypto)
find_package(ZLIB QUIET REQUIRED)

find_package(PkgConfig QUIET REQUIRED)
pkg_check_modules(log4cpp REQUIRED QUIET IMPORTED_TARGET log4cpp)
pkg_check_modules(xcb_screensaver REQUIRED QUIET IMPORTED_TARGET xcb-screensaver xcb)

if(QVCOMMON_WITH_MUTTER)
    find_package(Qt5 5.15 QUIET REQUIRED COMPONENTS DBus)
endif()
if(QVCOMMON_WITH_WAYLAND)
    pkg_check_modules(wayland_client REQUIRED QUIET IMPORTED_TARGET wayland-client)
    pkg_check_modules(wayland_scanner REQUIRED QUIET wayland-scanner wayland-protocols>=1.27)
endif()
