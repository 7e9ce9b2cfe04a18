# talvex-explain: the parser on hand-made logs in every format, the findings, the outputs.
add_library(talvex_explain_sample STATIC ${CMAKE_CURRENT_SOURCE_DIR}/explain_sample_log.cpp)
target_include_directories(talvex_explain_sample PUBLIC ${CMAKE_CURRENT_SOURCE_DIR})
target_compile_options(talvex_explain_sample PRIVATE ${TALVEX_WARNINGS})

foreach(t explain_parser_test explain_output_test explain_html_test)
    talvex_cc_test(NAME ${t}
        SRCS ${CMAKE_CURRENT_SOURCE_DIR}/${t}.cpp
        DEPS talvex_explain_lib talvex_explain_sample)
endforeach()
