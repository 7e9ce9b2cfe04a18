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

// STUB (hand-written): stands in for the AIDL-generated C++ header of android.gui.ISurfaceComposer
// (libs/gui/.../ISurfaceComposer.aidl). The interface class, its two nested enums and the methods
// libgui's sources call; syntax checks only.
#pragma once
// The generated header includes the headers of every type the interface imports; libgui's
// SurfaceComposerClient.h relies on that.
#include <android/gui/ARect.h>
#include <android/gui/Color.h>
#include <android/gui/CompositionPreference.h>
#include <android/gui/ContentSamplingAttributes.h>
#include <android/gui/DisplayBrightness.h>
#include <android/gui/DisplayDecorationSupport.h>
#include <android/gui/DisplayModeSpecs.h>
#include <android/gui/DisplayPrimaries.h>
#include <android/gui/DisplayState.h>
#include <android/gui/DisplayedFrameStats.h>
#include <android/gui/DynamicDisplayInfo.h>
#include <android/gui/FrameStats.h>
#include <android/gui/HdrConversionCapability.h>
#include <android/gui/HdrConversionStrategy.h>
#include <android/gui/IFpsListener.h>
#include <android/gui/IHdrLayerInfoListener.h>
#include <android/gui/IRegionSamplingListener.h>
#include <android/gui/IScreenCaptureListener.h>
#include <android/gui/ISurfaceComposerClient.h>
#include <android/gui/ITunnelModeEnabledListener.h>
#include <android/gui/OverlayProperties.h>
#include <android/gui/PullAtomData.h>
#include <android/gui/StalledTransactionInfo.h>
#include <android/gui/StaticDisplayInfo.h>
#include <binder/IBinder.h>
#include <binder/IInterface.h>
#include <binder/Status.h>
#include <gui/DisplayCaptureArgs.h>
#include <gui/LayerCaptureArgs.h>

#include <cstdint>
#include <optional>
#include <string>
#include <vector>
namespace android::gui {
class ISurfaceComposer : public ::android::IInterface {
public:
    DECLARE_META_INTERFACE(SurfaceComposer)
    enum class VsyncSource : int32_t { eVsyncSourceApp = 0, eVsyncSourceSurfaceFlinger = 1 };
    enum class EventRegistration : int32_t { modeChanged = 1 << 0, frameRateOverride = 1 << 1 };
    // The methods libgui's sources call, as the cpp backend declares them.
    virtual ::android::binder::Status bootFinished() = 0;
    virtual ::android::binder::Status createDisplay(
        const ::std::string& displayName, bool secure, float requestedRefreshRate,
        ::android::sp<::android::IBinder>* _aidl_return) = 0;
    virtual ::android::binder::Status destroyDisplay(
        const ::android::sp<::android::IBinder>& display) = 0;
    virtual ::android::binder::Status getPhysicalDisplayIds(::std::vector<int64_t>* _aidl_return) = 0;
    virtual ::android::binder::Status getPhysicalDisplayToken(
        int64_t displayId, ::android::sp<::android::IBinder>* _aidl_return) = 0;
    virtual ::android::binder::Status createConnection(
        ::android::sp<ISurfaceComposerClient>* _aidl_return) = 0;
    virtual ::android::binder::Status getDisplayState(
        const ::android::sp<::android::IBinder>& display, DisplayState* _aidl_return) = 0;
    virtual ::android::binder::Status getStaticDisplayInfo(int64_t displayId,
                                                           StaticDisplayInfo* _aidl_return) = 0;
    virtual ::android::binder::Status getDynamicDisplayInfoFromId(
        int64_t displayId, DynamicDisplayInfo* _aidl_return) = 0;
    virtual ::android::binder::Status getDynamicDisplayInfoFromToken(
        const ::android::sp<::android::IBinder>& display, DynamicDisplayInfo* _aidl_return) = 0;
    virtual ::android::binder::Status getDisplayNativePrimaries(
        const ::android::sp<::android::IBinder>& display, DisplayPrimaries* _aidl_return) = 0;
    virtual ::android::binder::Status setActiveColorMode(
        const ::android::sp<::android::IBinder>& display, int32_t colorMode) = 0;
    virtual ::android::binder::Status setBootDisplayMode(
        const ::android::sp<::android::IBinder>& display, int32_t displayModeId) = 0;
    virtual ::android::binder::Status clearBootDisplayMode(
        const ::android::sp<::android::IBinder>& display) = 0;
    virtual ::android::binder::Status getBootDisplayModeSupport(bool* _aidl_return) = 0;
    virtual ::android::binder::Status getHdrConversionCapabilities(
        ::std::vector<HdrConversionCapability>* _aidl_return) = 0;
    virtual ::android::binder::Status setHdrConversionStrategy(
        const HdrConversionStrategy& hdrConversionStrategy, int32_t* _aidl_return) = 0;
    virtual ::android::binder::Status getHdrOutputConversionSupport(bool* _aidl_return) = 0;
    virtual ::android::binder::Status setAutoLowLatencyMode(
        const ::android::sp<::android::IBinder>& display, bool on) = 0;
    virtual ::android::binder::Status setGameContentType(
        const ::android::sp<::android::IBinder>& display, bool on) = 0;
    virtual ::android::binder::Status captureDisplay(
        const DisplayCaptureArgs& args, const ::android::sp<IScreenCaptureListener>& listener) = 0;
    virtual ::android::binder::Status captureDisplayById(
        int64_t displayId, const CaptureArgs& args,
        const ::android::sp<IScreenCaptureListener>& listener) = 0;
    virtual ::android::binder::Status captureLayers(
        const LayerCaptureArgs& args, const ::android::sp<IScreenCaptureListener>& listener) = 0;
    virtual ::android::binder::Status clearAnimationFrameStats() = 0;
    virtual ::android::binder::Status getAnimationFrameStats(FrameStats* _aidl_return) = 0;
    virtual ::android::binder::Status overrideHdrTypes(
        const ::android::sp<::android::IBinder>& display,
        const ::std::vector<int32_t>& hdrTypes) = 0;
    virtual ::android::binder::Status onPullAtom(int32_t atomId, PullAtomData* _aidl_return) = 0;
    virtual ::android::binder::Status getCompositionPreference(
        CompositionPreference* _aidl_return) = 0;
    virtual ::android::binder::Status getDisplayedContentSamplingAttributes(
        const ::android::sp<::android::IBinder>& display,
        ContentSamplingAttributes* _aidl_return) = 0;
    virtual ::android::binder::Status setDisplayContentSamplingEnabled(
        const ::android::sp<::android::IBinder>& display, bool enable, int8_t componentMask,
        int64_t maxFrames) = 0;
    virtual ::android::binder::Status getDisplayedContentSample(
        const ::android::sp<::android::IBinder>& display, int64_t maxFrames, int64_t timestamp,
        DisplayedFrameStats* _aidl_return) = 0;
    virtual ::android::binder::Status getProtectedContentSupport(bool* _aidl_return) = 0;
    virtual ::android::binder::Status isWideColorDisplay(
        const ::android::sp<::android::IBinder>& token, bool* _aidl_return) = 0;
    virtual ::android::binder::Status addRegionSamplingListener(
        const ARect& samplingArea, const ::android::sp<::android::IBinder>& stopLayerHandle,
        const ::android::sp<IRegionSamplingListener>& listener) = 0;
    virtual ::android::binder::Status removeRegionSamplingListener(
        const ::android::sp<IRegionSamplingListener>& listener) = 0;
    virtual ::android::binder::Status addFpsListener(int32_t taskId,
                                                     const ::android::sp<IFpsListener>& listener) = 0;
    virtual ::android::binder::Status removeFpsListener(
        const ::android::sp<IFpsListener>& listener) = 0;
    virtual ::android::binder::Status addTunnelModeEnabledListener(
        const ::android::sp<ITunnelModeEnabledListener>& listener) = 0;
    virtual ::android::binder::Status removeTunnelModeEnabledListener(
        const ::android::sp<ITunnelModeEnabledListener>& listener) = 0;
    virtual ::android::binder::Status setDesiredDisplayModeSpecs(
        const ::android::sp<::android::IBinder>& displayToken, const DisplayModeSpecs& specs) = 0;
    virtual ::android::binder::Status getDesiredDisplayModeSpecs(
        const ::android::sp<::android::IBinder>& displayToken, DisplayModeSpecs* _aidl_return) = 0;
    virtual ::android::binder::Status getDisplayBrightnessSupport(
        const ::android::sp<::android::IBinder>& displayToken, bool* _aidl_return) = 0;
    virtual ::android::binder::Status setDisplayBrightness(
        const ::android::sp<::android::IBinder>& displayToken,
        const DisplayBrightness& brightness) = 0;
    virtual ::android::binder::Status addHdrLayerInfoListener(
        const ::android::sp<::android::IBinder>& displayToken,
        const ::android::sp<IHdrLayerInfoListener>& listener) = 0;
    virtual ::android::binder::Status removeHdrLayerInfoListener(
        const ::android::sp<::android::IBinder>& displayToken,
        const ::android::sp<IHdrLayerInfoListener>& listener) = 0;
    virtual ::android::binder::Status notifyPowerBoost(int32_t boostId) = 0;
    virtual ::android::binder::Status setGlobalShadowSettings(const Color& ambientColor,
                                                              const Color& spotColor,
                                                              float lightPosY, float lightPosZ,
                                                              float lightRadius) = 0;
    virtual ::android::binder::Status getDisplayDecorationSupport(
        const ::android::sp<::android::IBinder>& displayToken,
        ::std::optional<DisplayDecorationSupport>* _aidl_return) = 0;
    virtual ::android::binder::Status setGameModeFrameRateOverride(int32_t uid, float frameRate) = 0;
    virtual ::android::binder::Status setGameDefaultFrameRateOverride(int32_t uid,
                                                                      float frameRate) = 0;
    virtual ::android::binder::Status updateSmallAreaDetection(
        const ::std::vector<int32_t>& appIds, const ::std::vector<float>& thresholds) = 0;
    virtual ::android::binder::Status setSmallAreaDetectionThreshold(int32_t appId,
                                                                     float threshold) = 0;
    virtual ::android::binder::Status getGpuContextPriority(int32_t* _aidl_return) = 0;
    virtual ::android::binder::Status getMaxAcquiredBufferCount(int32_t* _aidl_return) = 0;
    virtual ::android::binder::Status getOverlaySupport(OverlayProperties* _aidl_return) = 0;
    virtual ::android::binder::Status getStalledTransactionInfo(
        int32_t pid, ::std::optional<StalledTransactionInfo>* _aidl_return) = 0;
    virtual ::android::binder::Status setPowerMode(const ::android::sp<::android::IBinder>& display,
                                                   int32_t mode) = 0;
};
}  // namespace android::gui
