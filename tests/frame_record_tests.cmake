# Frame record: Parts 2.2 to 2.6, one test file per Part, plus concurrency and the singleton.
# Tests see the repo root (frame_record/ private headers) and the host libgui/libbinder models.
add_library(talvex_frame_record_test_support INTERFACE)
target_include_directories(talvex_frame_record_test_support INTERFACE ${PROJECT_SOURCE_DIR})
target_link_libraries(talvex_frame_record_test_support INTERFACE
    gui_talvex_utils talvex_test_support talvex_host_platform)

foreach(t
        frame_record_store_test
        callback_id_timing_test
        frame_record_dump_test
        dumper_thread_test
        compositor_layer_call_test
        frame_record_concurrency_test
        frame_record_singleton_test)
    talvex_cc_test(NAME ${t}
        SRCS ${CMAKE_CURRENT_SOURCE_DIR}/${t}.cpp
        DEPS gui_talvex_utils talvex_test_support talvex_frame_record_test_support)
endforeach()
