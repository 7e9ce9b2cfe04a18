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

# Host models of AOSP libgui and libui (Android 14/15 class, member and type names), so the
# library's source compiles unchanged against them and against the real platform.
talvex_cc_library(NAME talvex_host_gui SHARED
    SRCS
        ui/Fence.cpp
        ui/GraphicBuffer.cpp
        ui/PixelFormat.cpp
        ui/Rect.cpp
        ui/Size.cpp
        gui/BLASTBufferQueue.cpp
        gui/BufferItem.cpp
        gui/BufferItemConsumer.cpp
        gui/BufferQueue.cpp
        gui/BufferQueueConsumer.cpp
        gui/BufferQueueCore.cpp
        gui/BufferQueueProducer.cpp
        gui/BufferSlot.cpp
        gui/ConsumerBase.cpp
        gui/HostCompositor.cpp
        gui/HostSurface.cpp
        gui/ITransactionCompletedListener.cpp
        gui/SurfaceComposerClient.cpp
        gui/SurfaceControl.cpp
        gui/TransactionCompletedListener.cpp
    PUBLIC_INCLUDES ${CMAKE_CURRENT_SOURCE_DIR}/include
    DEPS talvex_host_binder android::utils android::log android::base android::cutils
         gui_talvex_utils)
# The model carries libgui's integration patch (integration/android14), built in as libgui's own
# build turns it on.
target_compile_definitions(talvex_host_gui PRIVATE TALVEX_LIBGUI_HOOKS)
