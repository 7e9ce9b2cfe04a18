# Frame record: one test file per source file of frame_record/.
foreach(t
        frame_record_store_test
        callback_id_timing_test
        frame_record_dump_test
        dumper_thread_test
        compositor_layer_call_test)
    talvex_cc_test(NAME ${t}
        SRCS ${CMAKE_CURRENT_SOURCE_DIR}/${t}.cpp
        DEPS talvex_library_internals talvex_test_support)
endforeach()
