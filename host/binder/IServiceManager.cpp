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

// Host model of libbinder's IServiceManager.cpp: the process's default service manager and the
// in-process registry that stands in for servicemanager.
#define LOG_TAG "ServiceManager"

#include <binder/IServiceManager.h>
#include <log/log.h>
#include <unistd.h>

#include <chrono>
#include <utility>

namespace android {

IServiceManager::IServiceManager() {}

IServiceManager::~IServiceManager() {}

const String16& IServiceManager::getInterfaceDescriptor() const {
    static const String16* const sDescriptor = new String16("android.os.IServiceManager");
    return *sDescriptor;
}

// Never destroyed, as on device ([[clang::no_destroy]]): services may outlive static teardown.
static std::once_flag& smOnce() {
    static std::once_flag* const sOnce = new std::once_flag;
    return *sOnce;
}

static sp<IServiceManager>& defaultSm() {
    static sp<IServiceManager>* const sSm = new sp<IServiceManager>;
    return *sSm;
}

sp<IServiceManager> defaultServiceManager() {
    std::call_once(smOnce(), []() { defaultSm() = new HostServiceManager(); });
    return defaultSm();
}

void setDefaultServiceManager(const sp<IServiceManager>& sm) {
    bool called = false;
    std::call_once(smOnce(), [&]() {
        defaultSm() = sm;
        called = true;
    });
    if (!called) {
        LOG_ALWAYS_FATAL("setDefaultServiceManager() called after defaultServiceManager().");
    }
}

sp<HostServiceManager> hostDefaultServiceManager() {
    return sp<HostServiceManager>(dynamic_cast<HostServiceManager*>(defaultServiceManager().get()));
}

// ---- HostServiceManager ----

namespace {

// servicemanager's rule: 1 to 127 characters from [a-zA-Z0-9_-./].
bool isValidServiceName(const String16& name) {
    if (name.size() == 0 || name.size() > 127) return false;
    for (size_t i = 0; i < name.size(); i++) {
        const char16_t c = name.string()[i];
        if (c == u'_' || c == u'-' || c == u'.' || c == u'/') continue;
        if (c >= u'a' && c <= u'z') continue;
        if (c >= u'A' && c <= u'Z') continue;
        if (c >= u'0' && c <= u'9') continue;
        return false;
    }
    return true;
}

constexpr std::chrono::seconds kGetServiceTimeout{5};

}  // namespace

HostServiceManager::HostServiceManager() {}

sp<IBinder> HostServiceManager::getService(const String16& name) const {
    return waitFor(name, kGetServiceTimeout);
}

sp<IBinder> HostServiceManager::checkService(const String16& name) const {
    std::lock_guard<std::mutex> lock(mMutex);
    auto it = mServices.find(name);
    return it != mServices.end() ? it->second.binder : nullptr;
}

status_t HostServiceManager::addService(const String16& name, const sp<IBinder>& service,
                                        bool /*allowIsolated*/, int dumpsysFlags) {
    if (service == nullptr || !isValidServiceName(name)) {
        ALOGE("addService: invalid service name or null binder for '%s'", String8(name).string());
        return BAD_VALUE;
    }
    std::vector<sp<LocalRegistrationCallback>> toNotify;
    {
        std::lock_guard<std::mutex> lock(mMutex);
        mServices[name] = Service{service, dumpsysFlags};
        auto range = mCallbacks.equal_range(name);
        for (auto it = range.first; it != range.second; ++it) toNotify.push_back(it->second);
    }
    mServiceAdded.notify_all();
    // Outside the lock, so a callback may call back into the manager.
    for (const auto& cb : toNotify) cb->onServiceRegistration(name, service);
    return NO_ERROR;
}

Vector<String16> HostServiceManager::listServices(int dumpsysFlags) {
    Vector<String16> names;
    std::lock_guard<std::mutex> lock(mMutex);
    for (const auto& [name, service] : mServices) {
        if (service.dumpPriority & dumpsysFlags) names.add(name);
    }
    return names;
}

sp<IBinder> HostServiceManager::waitForService(const String16& name) {
    std::unique_lock<std::mutex> lock(mMutex);
    mServiceAdded.wait(lock, [&] { return mServices.count(name) != 0; });
    return mServices.at(name).binder;
}

sp<IBinder> HostServiceManager::waitFor(const String16& name,
                                        std::chrono::milliseconds timeout) const {
    std::unique_lock<std::mutex> lock(mMutex);
    if (!mServiceAdded.wait_for(lock, timeout, [&] { return mServices.count(name) != 0; })) {
        ALOGW("Service %s didn't start. Returning NULL", String8(name).string());
        return nullptr;
    }
    return mServices.at(name).binder;
}

bool HostServiceManager::isDeclared(const String16& /*name*/) {
    return false;  // no VINTF manifest on host
}

Vector<String16> HostServiceManager::getDeclaredInstances(const String16& /*interface*/) {
    return {};
}

std::optional<String16> HostServiceManager::updatableViaApex(const String16& /*name*/) {
    return std::nullopt;
}

Vector<String16> HostServiceManager::getUpdatableNames(const String16& /*apexName*/) {
    return {};
}

std::optional<IServiceManager::ConnectionInfo> HostServiceManager::getConnectionInfo(
    const String16& /*name*/) {
    return std::nullopt;
}

status_t HostServiceManager::registerForNotifications(const String16& name,
                                                      const sp<LocalRegistrationCallback>& callback) {
    if (callback == nullptr || !isValidServiceName(name)) return BAD_VALUE;
    sp<IBinder> existing;
    {
        std::lock_guard<std::mutex> lock(mMutex);
        mCallbacks.emplace(name, callback);
        auto it = mServices.find(name);
        if (it != mServices.end()) existing = it->second.binder;
    }
    // As servicemanager does: a service that is already there is reported at once.
    if (existing != nullptr) callback->onServiceRegistration(name, existing);
    return NO_ERROR;
}

status_t HostServiceManager::unregisterForNotifications(
    const String16& name, const sp<LocalRegistrationCallback>& callback) {
    std::lock_guard<std::mutex> lock(mMutex);
    auto range = mCallbacks.equal_range(name);
    for (auto it = range.first; it != range.second; ++it) {
        if (it->second == callback) {
            mCallbacks.erase(it);
            return NO_ERROR;
        }
    }
    return BAD_VALUE;
}

std::vector<IServiceManager::ServiceDebugInfo> HostServiceManager::getServiceDebugInfo() {
    std::vector<ServiceDebugInfo> infos;
    std::lock_guard<std::mutex> lock(mMutex);
    for (const auto& entry : mServices) {
        infos.push_back(ServiceDebugInfo{std::string(String8(entry.first).string()), getpid()});
    }
    return infos;
}

status_t HostServiceManager::removeService(const String16& name) {
    std::lock_guard<std::mutex> lock(mMutex);
    return mServices.erase(name) != 0 ? NO_ERROR : NAME_NOT_FOUND;
}

IBinder* HostServiceManager::onAsBinder() {
    return nullptr;
}

}  // namespace android
