# Everything the library links; the README says what each is for.

# What the public headers include, and what stays inside.
set(QVCOMMON_QT_PUBLIC Core Gui Network Widgets)
set(QVCOMMON_QT_PRIVATE Svg)
if(QVCOMMON_QT_MAJOR EQUAL 5)
    set(QVCOMMON_QT_MINIMUM 5.15)
    list(APPEND QVCOMMON_QT_PRIVATE X11Extras)
else()
    set(QVCOMMON_QT_MINIMUM 6.4)
    list(APPEND QVCOMMON_QT_PUBLIC Core5Compat)
endif()
find_package(${QVCOMMON_QT} ${QVCOMMON_QT_MINIMUM} QUIET REQUIRED
    COMPONENTS ${QVCOMMON_QT_PUBLIC} ${QVCOMMON_QT_PRIVATE})
list(TRANSFORM QVCOMMON_QT_PUBLIC PREPEND "${QVCOMMON_QT}::")
list(TRANSFORM QVCOMMON_QT_PRIVATE PREPEND "${QVCOMMON_QT}::")
find_package(OpenSSL 1.1 QUIET REQUIRED COMPONENTS Crypto)
find_package(ZLIB QUIET REQUIRED)

find_package(PkgConfig QUIET REQUIRED)
pkg_check_modules(log4cpp REQUIRED QUIET IMPORTED_TARGET log4cpp)
pkg_check_modules(xcb_screensaver REQUIRED QUIET IMPORTED_TARGET xcb-screensaver xcb)

if(QVCOMMON_WITH_MUTTER)
    find_package(${QVCOMMON_QT} QUIET REQUIRED COMPONENTS DBus)
endif()
if(QVCOMMON_WITH_WAYLAND)
    pkg_check_modules(wayland_client REQUIRED QUIET IMPORTED_TARGET wayland-client)
    pkg_check_modules(wayland_scanner REQUIRED QUIET wayland-scanner wayland-protocols>=1.27)
endif()
