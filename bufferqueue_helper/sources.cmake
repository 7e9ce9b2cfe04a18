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

# The buffer-queue helper, one file per concern. Paths are relative to the top directory.
set(TALVEX_BUFFERQUEUE_HELPER_SRCS
    bufferqueue_helper/bufferqueue_helper_registry.cpp
    bufferqueue_helper/core_state_dump.cpp
    bufferqueue_helper/blast_state_dump.cpp
    bufferqueue_helper/listener_callback_dump.cpp
    bufferqueue_helper/buffer_size_limiter.cpp
)
