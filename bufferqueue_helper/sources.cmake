# The buffer-queue helper, one file per concern. Paths are relative to the top directory.
set(TALVEX_BUFFERQUEUE_HELPER_SRCS
    bufferqueue_helper/bufferqueue_helper_registry.cpp
    bufferqueue_helper/core_state_dump.cpp
    bufferqueue_helper/blast_state_dump.cpp
    bufferqueue_helper/listener_callback_dump.cpp
    bufferqueue_helper/buffer_size_limiter.cpp
)
