/*
 * Copyright (C) 2026 The libgui_talvex_utils Authors
 *
 * Licensed under the Apache License, Version 2.0 (the "License");
 * you may not use this file except in compliance with the License.
 * You may obtain a copy of the License at
 *
 *      http://www.apache.org/licenses/LICENSE-2.0
 *
 * Unless required by applicable law or agreed to in writing, software
 * distributed under the License is distributed on an "AS IS" BASIS,
 * WITHOUT WARRANTIES OR CONDITIONS OF ANY KIND, either express or implied.
 * See the License for the specific language governing permissions and
 * limitations under the License.
 */

// STUB (hand-written): external/selinux's <selinux/selinux.h>, for a check that reads no
// external/selinux tree. Only what libgui's sources call (BufferQueueConsumer.cpp asks whether
// it may find the permission service); the declarations follow libselinux's documented API.
#pragma once
#include <stddef.h>
#ifdef __cplusplus
extern "C" {
#endif
int getcon(char** con);
void freecon(char* con);
int selinux_check_access(const char* scon, const char* tcon, const char* tclass, const char* perm,
                         void* auditdata);
union selinux_callback {
    int (*func_log)(int type, const char* fmt, ...) __attribute__((format(printf, 2, 3)));
};
#define SELINUX_CB_LOG 0
void selinux_set_callback(int type, union selinux_callback cb);
#ifdef __cplusplus
}
#endif
