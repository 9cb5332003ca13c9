# com_module: makes the program that links it export the entry points of a COM module. An object
# library, because nothing in the program refers to these entry points.
add_library(com_module OBJECT "${CMAKE_CURRENT_LIST_DIR}/ComModule.cpp")
target_link_libraries(com_module PRIVATE project_warnings)

# GNU ld ignores a definition file among the sources of an executable, but reads it as an argument.
set(com_exports "${CMAKE_CURRENT_LIST_DIR}/com.def")
target_link_options(com_module INTERFACE "$<$<CXX_COMPILER_ID:MSVC>:/DEF:>${com_exports}")
set_target_properties(com_module PROPERTIES INTERFACE_LINK_DEPENDS "${com_exports}")
