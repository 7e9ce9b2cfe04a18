# Hook module: frame vocabulary, registry and loader, getters and fallbacks.
add_library(talvex_no_entry MODULE ${CMAKE_CURRENT_SOURCE_DIR}/support/no_entry_library.cpp)

talvex_cc_test(NAME frame_type_test
    SRCS ${CMAKE_CURRENT_SOURCE_DIR}/frame_type_test.cpp
    DEPS gui_talvex_utils)
talvex_cc_test(NAME hook_interface_abi_test
    SRCS ${CMAKE_CURRENT_SOURCE_DIR}/hook_interface_abi_test.cpp
    DEPS gui_talvex_utils)
talvex_cc_test(NAME libgui_ext_interface_test
    SRCS ${CMAKE_CURRENT_SOURCE_DIR}/libgui_ext_interface_test.cpp
    DEPS talvex_library_internals talvex_test_support ${CMAKE_DL_LIBS})
talvex_cc_test(NAME hook_getters_test
    SRCS ${CMAKE_CURRENT_SOURCE_DIR}/hook_getters_test.cpp
    DEPS talvex_library_internals talvex_test_support)
target_compile_definitions(libgui_ext_interface_test PRIVATE
    TALVEX_NO_ENTRY_LIBRARY="$<TARGET_FILE:talvex_no_entry>")
add_dependencies(libgui_ext_interface_test talvex_no_entry)
