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

# Imported targets for Debian's builds of the real AOSP platform libraries (no pkg-config files).
set(ANDROID_PLATFORM_INCLUDE_DIR /usr/include/android CACHE PATH "Debian's AOSP headers")
set(ANDROID_PLATFORM_LIB_DIR /usr/lib/${CMAKE_LIBRARY_ARCHITECTURE}/android
    CACHE PATH "Debian's AOSP libraries")

foreach(lib utils log base cutils)
    find_library(ANDROID_LIB_${lib} NAMES ${lib} PATHS ${ANDROID_PLATFORM_LIB_DIR} NO_DEFAULT_PATH
                 REQUIRED)
    add_library(android::${lib} SHARED IMPORTED GLOBAL)
    set_target_properties(android::${lib} PROPERTIES
        IMPORTED_LOCATION ${ANDROID_LIB_${lib}}
        INTERFACE_INCLUDE_DIRECTORIES ${ANDROID_PLATFORM_INCLUDE_DIR})
    # The libraries are not on the loader's default path.
    set_property(TARGET android::${lib} APPEND PROPERTY
        INTERFACE_LINK_OPTIONS "LINKER:-rpath,${ANDROID_PLATFORM_LIB_DIR}")
endforeach()
