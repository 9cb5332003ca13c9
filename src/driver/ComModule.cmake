# com_module: makes the program that links it a COM module, with the self-registration entries
# among its exports. Object files, since nothing in the program refers to these entries.
add_library(com_module OBJECT "${CMAKE_CURRENT_LIST_DIR}/ComModule.cpp")
target_link_libraries(com_module PRIVATE project_warnings)

# GNU ld ignores a definition file among the sources of an executable; as an argument it counts.
set(com_exports "${CMAKE_CURRENT_LIST_DIR}/com.def")
target_link_options(com_module INTERFACE "$<$<CXX_COMPILER_ID:MSVC>:/DEF:>${com_exports}")
set_target_properties(com_module PROPERTIES INTERFACE_LINK_DEPENDS "${com_exports}")
