# talvex-explain throughput against grep on a generated logcat; ctest runs it on 8 MB.
add_executable(explain_benchmark ${CMAKE_CURRENT_SOURCE_DIR}/explain_benchmark.cpp)
target_compile_options(explain_benchmark PRIVATE ${TALVEX_WARNINGS})
target_link_libraries(explain_benchmark PRIVATE talvex_explain_lib)
if(BUILD_TESTING)
    add_test(NAME explain_benchmark.smoke COMMAND explain_benchmark 8)
endif()
