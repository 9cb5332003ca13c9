# Defines boost_headers, boost_program_options and boost_filesystem. Cross builds use the headers of
# libboost1.81-dev and two libraries that script/bootstrap builds once. Their cache is outside the
# build tree, so that deleting build/ causes no download.
if(MSVC)
    find_package(Boost 1.81 REQUIRED COMPONENTS program_options filesystem)
    add_library(boost_headers INTERFACE)
    target_link_libraries(boost_headers INTERFACE Boost::headers)
    add_library(boost_program_options ALIAS Boost::program_options)
    add_library(boost_filesystem ALIAS Boost::filesystem)
    return()
endif()

if(DEFINED ENV{XDG_CACHE_HOME} AND NOT "$ENV{XDG_CACHE_HOME}" STREQUAL "")
    set(boost_cache "$ENV{XDG_CACHE_HOME}")
else()
    set(boost_cache "$ENV{HOME}/.cache")
endif()
set(BOOST_CACHE_DIR "${boost_cache}/dhcpmigrate/boost-1.81.0" CACHE PATH
    "the libraries that script/bootstrap built")

include(${CMAKE_CURRENT_LIST_DIR}/boost/Headers.cmake)

foreach(name program_options filesystem)
    set(archive "${BOOST_CACHE_DIR}/lib/libboost_${name}.a")
    if(NOT EXISTS "${archive}")
        message(FATAL_ERROR "${archive} is missing: run script/bootstrap")
    endif()
    add_library(boost_${name} STATIC IMPORTED GLOBAL)
    set_target_properties(boost_${name} PROPERTIES IMPORTED_LOCATION "${archive}")
    target_link_libraries(boost_${name} INTERFACE boost_headers)
endforeach()
target_compile_definitions(boost_filesystem INTERFACE BOOST_FILESYSTEM_STATIC_LINK=1)
target_link_libraries(boost_filesystem INTERFACE advapi32)
