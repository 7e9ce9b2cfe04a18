# Host models of libgui and libui (host/gui.cmake).
talvex_cc_test(NAME host_gui_test
    SRCS host_gui_test.cpp host_gui_blast_test.cpp host_compositor_test.cpp
    DEPS talvex_host_gui talvex_test_support)
