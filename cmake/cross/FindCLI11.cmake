include(TavuHostHeaders)
include(FindPackageHandleStandardArgs)
tavu_host_headers(CLI11::CLI11 CLI CLI.hpp)
find_package_handle_standard_args(CLI11 REQUIRED_VARS CLI_HEADERS)
