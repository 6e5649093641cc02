# IXML, the XML library of libupnp, as the imported target ixml::ixml.
# Used by the build and by the installed package configuration.
find_path(IXML_INCLUDE_DIR ixml.h PATH_SUFFIXES upnp)
find_library(IXML_LIBRARY ixml)
mark_as_advanced(IXML_INCLUDE_DIR IXML_LIBRARY)

include(FindPackageHandleStandardArgs)
find_package_handle_standard_args(IXML REQUIRED_VARS IXML_LIBRARY IXML_INCLUDE_DIR)

if(IXML_FOUND AND NOT TARGET ixml::ixml)
  add_library(ixml::ixml UNKNOWN IMPORTED)
  set_target_properties(ixml::ixml PROPERTIES
    IMPORTED_LOCATION "${IXML_LIBRARY}"
    INTERFACE_INCLUDE_DIRECTORIES "${IXML_INCLUDE_DIR}")
endif()
