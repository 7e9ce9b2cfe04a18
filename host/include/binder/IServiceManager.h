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

/*
 * Host model of AOSP libbinder's IServiceManager (binder/IServiceManager.h, Android 14/15) and of
 * defaultServiceManager()/setDefaultServiceManager(). The process's default manager is an
 * in-process registry (HostServiceManager, host-only, at the end of this header).
 */
#pragma once

#include <binder/IInterface.h>
#include <utils/String16.h>
#include <utils/Vector.h>

#include <chrono>
#include <condition_variable>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

namespace android {

// Looks services up by name and registers them.
class IServiceManager : public IInterface {
public:
    // Returns "android.os.IServiceManager" (kept on device for ABI compatibility).
    virtual const String16& getInterfaceDescriptor() const;

    IServiceManager();
    virtual ~IServiceManager();

    // Dump priorities a service registers with (values of IServiceManager.aidl).
    static const int DUMP_FLAG_PRIORITY_CRITICAL = 1 << 0;
    static const int DUMP_FLAG_PRIORITY_HIGH = 1 << 1;
    static const int DUMP_FLAG_PRIORITY_NORMAL = 1 << 2;
    static const int DUMP_FLAG_PRIORITY_DEFAULT = 1 << 3;
    static const int DUMP_FLAG_PRIORITY_ALL = DUMP_FLAG_PRIORITY_CRITICAL |
                                              DUMP_FLAG_PRIORITY_HIGH | DUMP_FLAG_PRIORITY_NORMAL |
                                              DUMP_FLAG_PRIORITY_DEFAULT;
    static const int DUMP_FLAG_PROTO = 1 << 4;

    // Returns the named service, polling for up to 5 s if it is not registered yet, or null.
    [[deprecated("this polls for 5s, prefer waitForService or checkService")]] virtual sp<IBinder>
    getService(const String16& name) const = 0;
    // Returns the named service if it is registered now, else null; never waits.
    virtual sp<IBinder> checkService(const String16& name) const = 0;
    // Registers `service` under `name`, replacing an earlier one; BAD_VALUE for a null service.
    virtual status_t addService(const String16& name, const sp<IBinder>& service,
                                bool allowIsolated = false,
                                int dumpsysFlags = DUMP_FLAG_PRIORITY_DEFAULT) = 0;
    // Returns the names of the services registered with any of `dumpsysFlags`' priorities.
    virtual Vector<String16> listServices(int dumpsysFlags = DUMP_FLAG_PRIORITY_ALL) = 0;
    // Blocks until the named service is registered and returns it.
    virtual sp<IBinder> waitForService(const String16& name) = 0;
    // Returns whether `name` is declared in the VINTF manifest (never, on host).
    virtual bool isDeclared(const String16& name) = 0;
    virtual Vector<String16> getDeclaredInstances(const String16& interface) = 0;
    virtual std::optional<String16> updatableViaApex(const String16& name) = 0;
    virtual Vector<String16> getUpdatableNames(const String16& apexName) = 0;

    struct ConnectionInfo {
        std::string ipAddress;
        unsigned int port;
    };
    virtual std::optional<ConnectionInfo> getConnectionInfo(const String16& name) = 0;

    // Told when a service is registered under a name it asked about.
    struct LocalRegistrationCallback : public virtual RefBase {
        virtual void onServiceRegistration(const String16& instance, const sp<IBinder>& binder) = 0;
        virtual ~LocalRegistrationCallback() {}
    };
    virtual status_t registerForNotifications(const String16& name,
                                              const sp<LocalRegistrationCallback>& callback) = 0;
    virtual status_t unregisterForNotifications(const String16& name,
                                                const sp<LocalRegistrationCallback>& callback) = 0;

    struct ServiceDebugInfo {
        std::string name;
        int pid;
    };
    virtual std::vector<ServiceDebugInfo> getServiceDebugInfo() = 0;
};

// Returns the process's service manager. The first call fixes it for the life of the process
// (an in-process HostServiceManager on host) unless setDefaultServiceManager() ran first.
sp<IServiceManager> defaultServiceManager();

// Fixes the process's service manager to `sm` (null: defaultServiceManager() returns null).
// Aborts if defaultServiceManager() or setDefaultServiceManager() already ran, as on device.
void setDefaultServiceManager(const sp<IServiceManager>& sm);

// Gets the named service as INTERFACE; NAME_NOT_FOUND if there is no manager or no service.
template <typename INTERFACE>
status_t getService(const String16& name, sp<INTERFACE>* outService) {
    const sp<IServiceManager> sm = defaultServiceManager();
    if (sm != nullptr) {
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wdeprecated-declarations"
        *outService = interface_cast<INTERFACE>(sm->getService(name));
#pragma GCC diagnostic pop
        if ((*outService) != nullptr) return NO_ERROR;
    }
    return NAME_NOT_FOUND;
}

// ------------------------------------------------------------------------------------------------
// Host-only: not part of AOSP. The in-process registry behind the host's defaultServiceManager().

// A mutex-guarded name -> binder map with AOSP servicemanager's lookup rules, minus permissions.
class HostServiceManager : public IServiceManager {
public:
    HostServiceManager();

    [[deprecated("this polls for 5s, prefer waitForService or checkService")]] sp<IBinder>
    getService(const String16& name) const override;
    sp<IBinder> checkService(const String16& name) const override;
    status_t addService(const String16& name, const sp<IBinder>& service, bool allowIsolated = false,
                        int dumpsysFlags = DUMP_FLAG_PRIORITY_DEFAULT) override;
    Vector<String16> listServices(int dumpsysFlags = DUMP_FLAG_PRIORITY_ALL) override;
    sp<IBinder> waitForService(const String16& name) override;
    bool isDeclared(const String16& name) override;
    Vector<String16> getDeclaredInstances(const String16& interface) override;
    std::optional<String16> updatableViaApex(const String16& name) override;
    Vector<String16> getUpdatableNames(const String16& apexName) override;
    std::optional<ConnectionInfo> getConnectionInfo(const String16& name) override;
    status_t registerForNotifications(const String16& name,
                                      const sp<LocalRegistrationCallback>& callback) override;
    status_t unregisterForNotifications(const String16& name,
                                        const sp<LocalRegistrationCallback>& callback) override;
    std::vector<ServiceDebugInfo> getServiceDebugInfo() override;

    // Host-only: unregisters `name` so a test can model a missing or restarted service.
    // Returns NAME_NOT_FOUND if nothing is registered under it.
    status_t removeService(const String16& name);

    HostServiceManager(const HostServiceManager&) = delete;
    HostServiceManager& operator=(const HostServiceManager&) = delete;

protected:
    IBinder* onAsBinder() override;  // null: the host registry has no binder face

private:
    struct Service {
        sp<IBinder> binder;
        int dumpPriority;
    };

    // Waits up to `timeout` for `name`; returns null on timeout.
    sp<IBinder> waitFor(const String16& name, std::chrono::milliseconds timeout) const;

    mutable std::mutex mMutex;
    mutable std::condition_variable mServiceAdded;
    std::map<String16, Service> mServices;  // by name (String16's operator<)
    std::multimap<String16, sp<LocalRegistrationCallback>> mCallbacks;
};

// Host-only: returns the default manager as the host registry, or null if
// setDefaultServiceManager() installed another class (or null).
sp<HostServiceManager> hostDefaultServiceManager();

}  // namespace android
