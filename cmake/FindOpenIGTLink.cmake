# OpenIGTLink::OpenIGTLink, the library that speaks to tracking cameras over the network. The
# configuration file that comes with it cannot be read by current versions of CMake.

find_path(OpenIGTLink_INCLUDE_DIR igtl_header.h PATH_SUFFIXES openigtlink igtl)
find_library(OpenIGTLink_LIBRARY OpenIGTLink PATH_SUFFIXES igtl)

include(FindPackageHandleStandardArgs)
find_package_handle_standard_args(OpenIGTLink
    REQUIRED_VARS OpenIGTLink_LIBRARY OpenIGTLink_INCLUDE_DIR)

if(OpenIGTLink_FOUND AND NOT TARGET OpenIGTLink::OpenIGTLink)
    add_library(OpenIGTLink::OpenIGTLink UNKNOWN IMPORTED)
    set_target_properties(OpenIGTLink::OpenIGTLink PROPERTIES
        IMPORTED_LOCATION "${OpenIGTLink_LIBRARY}"
        INTERFACE_INCLUDE_DIRECTORIES "${OpenIGTLink_INCLUDE_DIR}")
endif()
mark_as_advanced(OpenIGTLink_INCLUDE_DIR OpenIGTLink_LIBRARY)
