# Host models of AOSP libgui and libui (Android 14/15 class, member and type names), so the
# library's source compiles unchanged against them and against the real platform.
talvex_cc_library(NAME talvex_host_gui SHARED
    SRCS
        ui/Fence.cpp
        ui/GraphicBuffer.cpp
        ui/PixelFormat.cpp
        ui/Size.cpp
        gui/BLASTBufferQueue.cpp
        gui/BufferItem.cpp
        gui/BufferItemConsumer.cpp
        gui/BufferQueueCore.cpp
        gui/BufferSlot.cpp
        gui/ConsumerBase.cpp
        gui/HostCompositor.cpp
        gui/ITransactionCompletedListener.cpp
        gui/SurfaceComposerClient.cpp
        gui/SurfaceControl.cpp
        gui/TransactionCompletedListener.cpp
    PUBLIC_INCLUDES ${CMAKE_CURRENT_SOURCE_DIR}/include
    DEPS talvex_host_binder android::utils android::log android::base android::cutils)
