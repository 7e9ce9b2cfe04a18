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

# Locking mistakes that must not compile (compile_fail/lock_annotation_cases.cpp for the library,
# compile_fail/model_lock_annotation_cases.cpp for the host models of libgui), each case built on
# its own by ctest and expected to stop at the analysis's exact error; case 0 does the same
# operations right and must build.
if(NOT TALVEX_THREAD_SAFETY)
    return()
endif()

# talvex_lock_annotation_cases(LIKE target SRC file DEFINE macro CASES "name|case|error" ...):
# one ctest per case, building `file` with `macro` set to the case number.
function(talvex_lock_annotation_cases)
    cmake_parse_arguments(A "" "LIKE;SRC;DEFINE" "CASES" ${ARGN})
    foreach(entry ${A_CASES})
        string(REPLACE "|" ";" fields "${entry}")
        list(GET fields 0 name)
        list(GET fields 1 number)
        list(GET fields 2 error)
        set(target lock_annotation_case_${name})
        talvex_thread_safety_check(NAME ${target} LIKE ${A_LIKE} EXCLUDE_FROM_ALL
            SRCS ${CMAKE_CURRENT_SOURCE_DIR}/compile_fail/${A_SRC}
            DEFINES ${A_DEFINE}=${number})
        add_test(NAME lock_annotations.${name}
            COMMAND ${CMAKE_COMMAND} --build ${CMAKE_BINARY_DIR} --target ${target})
        # Two builds in one tree at once would race on ninja's logs.
        set_tests_properties(lock_annotations.${name} PROPERTIES RESOURCE_LOCK build_tree)
        if(error)
            set_tests_properties(lock_annotations.${name} PROPERTIES
                PASS_REGULAR_EXPRESSION "error: ${error} \\[-Werror,-Wthread-safety-analysis\\]")
        endif()
    endforeach()
endfunction()

talvex_lock_annotation_cases(LIKE gui_talvex_utils SRC lock_annotation_cases.cpp
    DEFINE LOCK_ANNOTATION_CASE CASES
    "done_right|0|"
    "store_read_unlocked|1|reading variable 'mRecordContents' requires holding mutex 'record.mMutex'"
    "locked_call_unlocked|2|calling function 'setLayerFrameEventLocked' requires holding mutex 'record.mMutex' exclusively"
    "reentry_under_lock|3|cannot call function 'dumpAllRecordContent' while mutex 'record.mMutex' is held"
    "task_queue_unlocked|4|reading variable 'mTaskQueue' requires holding mutex 'worker.mLock'"
    "worker_under_wrong_lock|5|reading variable 'mThread' requires holding mutex 'worker.mLock'")

talvex_lock_annotation_cases(LIKE talvex_host_gui SRC model_lock_annotation_cases.cpp
    DEFINE MODEL_LOCK_ANNOTATION_CASE CASES
    "model_done_right|0|"
    "listener_callbacks_unlocked|1|reading variable 'mCallbacks' requires holding mutex 'listener.mMutex'"
    "listener_releases_unlocked|2|reading variable 'mReleaseBufferCallbacks' requires holding mutex 'listener.mMutex'"
    "listener_locked_call_unlocked|3|calling function 'addCallbackFunctionLocked' requires holding mutex 'listener.mMutex' exclusively")

# The BLAST queue's members are GUARDED_BY its mMutex, which both BLAST dumps' callers hold: each
# dump tells the analysis so. Without that assertion the build must stop at the first guarded read.
# name|source|the error it must stop at
set(TALVEX_LOCK_ASSERTION_CASES
    "blast_dump_unasserted|bufferqueue_helper/blast_state_dump.cpp|reading variable 'mSurfaceControl' requires holding mutex 'bbq->mMutex'"
    "registry_dump_unasserted|bufferqueue_helper/bufferqueue_helper_registry.cpp|reading variable 'mNumFrameAvailable' requires holding mutex 'queue->mMutex'")

foreach(entry ${TALVEX_LOCK_ASSERTION_CASES})
    string(REPLACE "|" ";" fields "${entry}")
    list(GET fields 0 name)
    list(GET fields 1 source)
    list(GET fields 2 error)
    set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/${source})
    file(READ ${PROJECT_SOURCE_DIR}/${source} text)
    string(REGEX REPLACE "[^\n]*ScopedLockAssertion[^\n]*\n" "" unasserted "${text}")
    if(unasserted STREQUAL text)
        message(FATAL_ERROR "${source} asserts no lock: the case ${name} would test nothing")
    endif()
    set(copy ${CMAKE_CURRENT_BINARY_DIR}/lock_assertion/${name}.cpp)
    file(WRITE ${copy} "${unasserted}")
    set(target lock_annotation_case_${name})
    talvex_thread_safety_check(NAME ${target} LIKE gui_talvex_utils EXCLUDE_FROM_ALL SRCS ${copy})
    add_test(NAME lock_annotations.${name}
        COMMAND ${CMAKE_COMMAND} --build ${CMAKE_BINARY_DIR} --target ${target})
    set_tests_properties(lock_annotations.${name} PROPERTIES
        RESOURCE_LOCK build_tree
        PASS_REGULAR_EXPRESSION "error: ${error} \\[-Werror,-Wthread-safety-analysis\\]")
endforeach()
