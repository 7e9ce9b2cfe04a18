# Host models of libgui and libui (host/gui.cmake).
talvex_cc_test(NAME host_gui_test
    SRCS host_gui_test.cpp
    DEPS talvex_host_gui talvex_test_support)

# Compile-time check of the models' AOSP member names, types and access; links no library code.
talvex_cc_test(NAME host_model_abi_test
    SRCS ${CMAKE_CURRENT_SOURCE_DIR}/host_model_abi_test.cpp
    DEPS talvex_host_gui)
