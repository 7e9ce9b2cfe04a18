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

# Host models of libgui and libui (host/gui.cmake).
talvex_cc_test(NAME host_gui_test
    SRCS host_gui_test.cpp
    DEPS talvex_host_gui talvex_test_support)

# Compile-time check of the models' AOSP member names, types and access; links no library code.
talvex_cc_test(NAME host_model_abi_test
    SRCS ${CMAKE_CURRENT_SOURCE_DIR}/host_model_abi_test.cpp
    DEPS talvex_host_gui)

# Host models of libgui's surfaces, transactions and transaction-completed listener.
talvex_cc_test(NAME host_transaction_test
    SRCS host_transaction_test.cpp
    DEPS talvex_host_gui talvex_test_support)
