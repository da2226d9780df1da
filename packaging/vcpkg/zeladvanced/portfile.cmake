# An overlay port that builds the sources it lies in:
#     vcpkg install zeladvanced --overlay-ports=<this tree>/packaging/vcpkg
get_filename_component(SOURCE_PATH "${CMAKE_CURRENT_LIST_DIR}/../../.." ABSOLUTE)

# The libraries don't use X client libraries that vcpkg doesn't know of.
vcpkg_cmake_configure(SOURCE_PATH "${SOURCE_PATH}" OPTIONS -DZEL_HAS_XCB=OFF)
vcpkg_cmake_install()
vcpkg_cmake_config_fixup(PACKAGE_NAME zelAdvanced CONFIG_PATH lib/cmake/zelAdvanced)
vcpkg_fixup_pkgconfig()

file(REMOVE_RECURSE "${CURRENT_PACKAGES_DIR}/debug/include" "${CURRENT_PACKAGES_DIR}/debug/share")
vcpkg_install_copyright(FILE_LIST "${SOURCE_PATH}/packaging/debian/copyright")
