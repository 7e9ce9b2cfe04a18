# Hook module: Parts 2.1, 1.1, 1.2.
add_library(talvex_no_entry MODULE ${CMAKE_CURRENT_SOURCE_DIR}/support/no_entry_library.cpp)

talvex_cc_test(NAME frame_type_test
    SRCS ${CMAKE_CURRENT_SOURCE_DIR}/frame_type_test.cpp
    DEPS gui_talvex_utils)
talvex_cc_test(NAME hook_interface_abi_test
    SRCS ${CMAKE_CURRENT_SOURCE_DIR}/hook_interface_abi_test.cpp
    DEPS gui_talvex_utils)
talvex_cc_test(NAME libgui_ext_interface_test
    SRCS ${CMAKE_CURRENT_SOURCE_DIR}/libgui_ext_interface_test.cpp
    DEPS gui_talvex_utils talvex_test_support ${CMAKE_DL_LIBS})
talvex_cc_test(NAME hook_getters_test
    SRCS ${CMAKE_CURRENT_SOURCE_DIR}/hook_getters_test.cpp
    DEPS gui_talvex_utils talvex_test_support)
foreach(t libgui_ext_interface_test hook_getters_test)
    if(TARGET ${t})
        target_include_directories(${t} PRIVATE ${PROJECT_SOURCE_DIR})
        target_compile_definitions(${t} PRIVATE
            TALVEX_NO_ENTRY_LIBRARY="$<TARGET_FILE:talvex_no_entry>")
        add_dependencies(${t} talvex_no_entry)
    endif()
endforeach()
