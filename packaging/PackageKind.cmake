# Read by CPack once for each generator.
if(CPACK_GENERATOR STREQUAL "DEB")
  set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
  set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "") # each component has its own
  list(REMOVE_ITEM CPACK_COMPONENTS_ALL debug)
else()
  # A bundle unpacks into a folder that may lie anywhere.
  set(CPACK_PACKAGING_INSTALL_PREFIX "/orvanedga")
  set(CPACK_INCLUDE_TOPLEVEL_DIRECTORY OFF)
  set(CPACK_COMPONENT_INCLUDE_TOPLEVEL_DIRECTORY OFF)
endif()
