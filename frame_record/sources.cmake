# Copyright (C) 2026 The libgui_talvex_utils Authors
#
# Licensed under the Apache License, Version 2.0 (the "License");
# you may not use this file except in compliance with the License.
# You may obtain a copy of the License at
#
#      http://www.apache.org/licenses/LICENSE-2.0
#
# Unless required by applicable law or agreed to in writing, software
# distributed under the License is distributed on an "AS IS" BASIS,
# WITHOUT WARRANTIES OR CONDITIONS OF ANY KIND, either express or implied.
# See the License for the specific language governing permissions and
# limitations under the License.

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
