# boost_headers: the machine's Boost headers, and nothing else of /usr/include.
file(STRINGS /usr/include/boost/version.hpp boost_version REGEX "define BOOST_LIB_VERSION")
if(NOT boost_version MATCHES "\"1_81\"")
    message(FATAL_ERROR "the Boost headers are not 1.81: run script/bootstrap")
endif()
file(MAKE_DIRECTORY "${CMAKE_BINARY_DIR}/boost-include")
file(CREATE_LINK /usr/include/boost "${CMAKE_BINARY_DIR}/boost-include/boost" SYMBOLIC)

add_library(boost_headers INTERFACE)
target_include_directories(boost_headers SYSTEM INTERFACE "${CMAKE_BINARY_DIR}/boost-include")
target_compile_definitions(boost_headers INTERFACE BOOST_ALL_NO_LIB=1)
