#pragma once

#include <android-base/properties.h>

#include <string>

namespace talvex::test {

// Sets a system property (libbase's in-process store on host) and restores it on destruction.
class ScopedProperty {
public:
    ScopedProperty(std::string key, const std::string& value)
        : mKey(std::move(key)), mOld(android::base::GetProperty(mKey, "")) {
        android::base::SetProperty(mKey, value);
    }
    ~ScopedProperty() { android::base::SetProperty(mKey, mOld); }
    ScopedProperty(const ScopedProperty&) = delete;
    ScopedProperty& operator=(const ScopedProperty&) = delete;

private:
    std::string mKey;
    std::string mOld;
};

}  // namespace talvex::test
