# Host model of libbinder: wire bytes, transactions, the service manager.
talvex_cc_test(NAME host_binder_test
    SRCS ${CMAKE_CURRENT_SOURCE_DIR}/host_binder_test.cpp
    DEPS talvex_host_binder talvex_test_support)
