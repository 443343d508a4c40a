# Only what is all headers.
include(TavuHostHeaders)
include(FindPackageHandleStandardArgs)
tavu_host_headers(Boost::headers boost smart_ptr.hpp)
find_package_handle_standard_args(Boost REQUIRED_VARS boost_HEADERS)
