# Frame record, one file per concern. Paths are relative to the top directory.
# Android.bp lists program_name_android.cpp in place of program_name_host.cpp.
set(TALVEX_FRAME_RECORD_SRCS
    frame_record/frame_record_store.cpp
    frame_record/callback_id_timing.cpp
    frame_record/frame_record_dump.cpp
    frame_record/dumper_thread.cpp
    frame_record/compositor_layer_call.cpp
    frame_record/program_name_host.cpp
)
