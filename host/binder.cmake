# Host model of libbinder: IBinder, BBinder, IInterface, Parcel (kernel-binder wire format) and
# the process's service manager (an in-process registry). See host/include/binder/.
talvex_cc_library(NAME talvex_host_binder SHARED
    SRCS
        ${CMAKE_CURRENT_SOURCE_DIR}/binder/Binder.cpp
        ${CMAKE_CURRENT_SOURCE_DIR}/binder/IServiceManager.cpp
        ${CMAKE_CURRENT_SOURCE_DIR}/binder/Parcel.cpp
    PUBLIC_INCLUDES ${CMAKE_CURRENT_SOURCE_DIR}/include
    DEPS android::utils android::log android::base)
