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

// Host model of AOSP libgui's gui/SurfaceComposerClient.h (Android 14/15): the composer client,
// its nested Transaction, the hashes and callback types transactions use, and the process's
// TransactionCompletedListener. There is no compositor on the host: a transaction records what
// it carries for each layer and registers its callbacks with the listener exactly as libgui
// does, and whoever plays the compositor receives applied transactions (hostSetApplyObserver)
// and reports back through the listener's ITransactionCompletedListener entry points.
#pragma once

#include <binder/IBinder.h>
#include <gui/ITransactionCompletedListener.h>
#include <gui/SurfaceControl.h>
#include <stdint.h>
#include <sys/types.h>
#include <ui/Fence.h>
#include <ui/GraphicBuffer.h>
#include <ui/PixelFormat.h>
#include <utils/Errors.h>
#include <utils/RefBase.h>
#include <utils/String8.h>
#include <utils/StrongPointer.h>
#include <utils/threads.h>

#include <functional>
#include <mutex>
#include <optional>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <variant>
#include <vector>

namespace android {

class TransactionCompletedListener;

// One surface's part of a transaction callback, as the app's callback receives it.
struct SurfaceControlStats {
    SurfaceControlStats(const sp<SurfaceControl>& sc, nsecs_t latchTime,
                        std::variant<nsecs_t, sp<Fence>> acquireTimeOrFence,
                        const sp<Fence>& presentFence, const sp<Fence>& prevReleaseFence,
                        std::optional<uint32_t> hint, FrameEventHistoryStats eventStats,
                        uint32_t currentMaxAcquiredBufferCount)
        : surfaceControl(sc),
          latchTime(latchTime),
          acquireTimeOrFence(std::move(acquireTimeOrFence)),
          presentFence(presentFence),
          previousReleaseFence(prevReleaseFence),
          transformHint(hint),
          frameEventStats(eventStats),
          currentMaxAcquiredBufferCount(currentMaxAcquiredBufferCount) {}

    sp<SurfaceControl> surfaceControl;
    nsecs_t latchTime = -1;
    std::variant<nsecs_t, sp<Fence>> acquireTimeOrFence = -1;
    sp<Fence> presentFence;
    sp<Fence> previousReleaseFence;
    std::optional<uint32_t> transformHint = 0;
    FrameEventHistoryStats frameEventStats;
    uint32_t currentMaxAcquiredBufferCount = 0;
};

using TransactionCompletedCallbackTakesContext =
    std::function<void(void* /*context*/, nsecs_t /*latchTime*/, const sp<Fence>& /*presentFence*/,
                       const std::vector<SurfaceControlStats>& /*stats*/)>;
using TransactionCompletedCallback =
    std::function<void(nsecs_t /*latchTime*/, const sp<Fence>& /*presentFence*/,
                       const std::vector<SurfaceControlStats>& /*stats*/)>;
using ReleaseBufferCallback =
    std::function<void(const ReleaseCallbackId&, const sp<Fence>& /*releaseFence*/,
                       std::optional<uint32_t> currentMaxAcquiredBufferCount)>;

using SurfaceStatsCallback =
    std::function<void(void* /*context*/, nsecs_t /*latchTime*/, const sp<Fence>& /*presentFence*/,
                       const SurfaceStats& /*stats*/)>;

using TrustedPresentationCallback = std::function<void(void*, bool)>;

class SurfaceComposerClient : public RefBase {
public:
    SurfaceComposerClient();
    virtual ~SurfaceComposerClient();

    // Returns NO_ERROR: the host client is always connected.
    status_t initCheck() const { return NO_ERROR; }

    // Creates a layer named `name` with a fresh handle and a process-unique layer id (from 1),
    // as the compositor would assign them.
    sp<SurfaceControl> createSurface(const String8& name, uint32_t w, uint32_t h,
                                     PixelFormat format, int32_t flags = 0);

    // Hashes an sp<SurfaceControl> by its raw pointer.
    struct SCHash {
        std::size_t operator()(const sp<SurfaceControl>& sc) const {
            return std::hash<SurfaceControl*>{}(sc.get());
        }
    };

    // Hashes an sp<IBinder> by its raw pointer.
    struct IBinderHash {
        std::size_t operator()(const sp<IBinder>& iBinder) const {
            return std::hash<IBinder*>{}(iBinder.get());
        }
    };

    // Hashes a listener by the binder behind it.
    struct TCLHash {
        std::size_t operator()(const sp<ITransactionCompletedListener>& tcl) const {
            return std::hash<IBinder*>{}((tcl) ? IInterface::asBinder(tcl).get() : nullptr);
        }
    };

    // What a transaction asks of one listener.
    struct CallbackInfo {
        // The callbacks registered with the listener through this transaction.
        std::unordered_set<CallbackId, CallbackIdHash> callbackIds;
        // The surfaces the transaction changes that those callbacks report on.
        std::unordered_set<sp<SurfaceControl>, SCHash> surfaceControls;
    };

    // A batch of layer changes applied atomically. A copyable value type, as in AOSP.
    class Transaction {
    protected:
        std::unordered_map<sp<ITransactionCompletedListener>, CallbackInfo, TCLHash> mListenerCallbacks;

        // The ids of the transactions merged into this one, most recent first, at most
        // MAX_MERGE_HISTORY_LENGTH of them.
        static const size_t MAX_MERGE_HISTORY_LENGTH = 10u;
        std::vector<uint64_t> mMergedTransactionIds;

        uint64_t mId;

        int mStatus = NO_ERROR;

        void registerSurfaceControlForCallback(const sp<SurfaceControl>& sc);

    public:
        Transaction();
        virtual ~Transaction() = default;
        Transaction(Transaction const& other);

        // Drops every change and callback registration; the id stays.
        void clear();

        // Returns the id, unique in the process: (pid << 32) | a per-process counter. Each
        // apply() gives the transaction a new one.
        uint64_t getId();

        std::vector<uint64_t> getMergedTransactionIds();

        // Hands the transaction to the compositor, gives it a new id and clears it. Returns the
        // error a setter recorded, if any, without applying.
        status_t apply(bool synchronous = false, bool oneWay = false);
        // Moves `other`'s changes and callbacks into this one and clears `other`. A buffer of
        // this one that `other` replaces is released.
        Transaction& merge(Transaction&& other);

        // Sets `sc`'s buffer, with the frame number from sc->resolveFrameNumber(frameNumber).
        // `callback` runs when the compositor releases the buffer. A buffer it replaces is
        // released. Also registers an empty completion callback, so that the compositor reports
        // back on every transaction with a buffer.
        Transaction& setBuffer(const sp<SurfaceControl>& sc, const sp<GraphicBuffer>& buffer,
                               const std::optional<sp<Fence>>& fence = std::nullopt,
                               const std::optional<uint64_t>& frameNumber = std::nullopt,
                               uint32_t producerId = 0, ReleaseBufferCallback callback = nullptr);

        // Registers `callback` (called with `callbackContext`) with the listener, for the
        // surfaces this transaction changes.
        Transaction& addTransactionCallback(TransactionCompletedCallbackTakesContext callback,
                                            void* callbackContext, CallbackId::Type callbackType);

        Transaction& addTransactionCompletedCallback(
            TransactionCompletedCallbackTakesContext callback, void* callbackContext);

        Transaction& addTransactionCommittedCallback(
            TransactionCompletedCallbackTakesContext callback, void* callbackContext);

        // ---- Host only (not in Android 14) ----
    public:
        // AOSP's copy assignment is the implicit one, which the host's compilers warn about
        // next to a user-provided copy constructor.
        Transaction& operator=(const Transaction& other) = default;

        // What the transaction carries for one layer.
        struct HostLayer {
            sp<SurfaceControl> surfaceControl;
            // The frame number of the buffer set, if one is.
            std::optional<uint64_t> frameNumber;
            sp<GraphicBuffer> buffer;
            // The id the compositor releases the buffer with; INVALID_ID when no release
            // callback was set with it.
            ReleaseCallbackId releaseCallbackId;
        };
        // Returns the layers this transaction changes, in no particular order.
        std::vector<HostLayer> hostLayers() const;
        // Returns the callback ids registered with the process's listener through this
        // transaction.
        std::unordered_set<CallbackId, CallbackIdHash> hostCallbackIds() const;
        // Returns the frame number of the buffer set for `sc`, if any.
        std::optional<uint64_t> hostFrameNumber(const sp<SurfaceControl>& sc) const;
        // Sets the process's receiver of applied transactions (the compositor's side): called
        // by apply() with the transaction before it is cleared, on the applying thread, which
        // may hold the BLAST queue's lock. Null: none. Set it before transactions are applied.
        static void hostSetApplyObserver(std::function<void(const Transaction&)> observer);

    private:
        // What AOSP's layer_state_t holds of one layer's buffer.
        struct HostLayerState {
            sp<SurfaceControl> surfaceControl;
            bool bufferChanged = false;
            sp<GraphicBuffer> buffer;
            uint64_t frameNumber = 0;
            sp<Fence> acquireFence;
            uint32_t producerId = 0;
            bool hasReleaseBufferListener = false;
        };
        // The layer state of `sc`, keyed by its layer-state handle; null for a null `sc`.
        HostLayerState* hostGetLayerState(const sp<SurfaceControl>& sc);
        // Hands a buffer `state` holds back to its owner's release callback, on the release
        // thread: the caller may hold a lock that callback takes.
        static void hostReleaseBufferIfOverwriting(const HostLayerState& state);

        std::unordered_map<sp<IBinder>, HostLayerState, IBinderHash> mHostLayerStates;
    };

    // ---- Host only (not in Android 14) ----
    // Returns once the release callbacks of buffers overwritten in transactions (run on libgui's
    // release-callback thread) have all run.
    static void hostWaitForReleaseCallbacks();
};

// Receives the compositor's transaction-completed and buffer-release reports for the whole
// process and dispatches them to the callbacks registered through transactions. One instance
// per process (getInstance()).
class TransactionCompletedListener : public BnTransactionCompletedListener {
public:
    TransactionCompletedListener();

protected:
    int64_t getNextIdLocked() REQUIRES(mMutex);

    // Reads the listener's callbacks for its dumps (libgui_talvex_utils).
    friend class TalvexBufferQueueHelper;

    std::mutex mMutex;

    bool mListening GUARDED_BY(mMutex) = false;

    int64_t mCallbackIdCounter GUARDED_BY(mMutex) = 1;
    struct CallbackTranslation {
        TransactionCompletedCallback callbackFunction;
        std::unordered_map<sp<IBinder>, sp<SurfaceControl>, SurfaceComposerClient::IBinderHash>
            surfaceControls;
    };

    std::unordered_map<CallbackId, CallbackTranslation, CallbackIdHash> mCallbacks GUARDED_BY(mMutex);
    std::unordered_map<ReleaseCallbackId, ReleaseBufferCallback, ReleaseBufferCallbackIdHash>
        mReleaseBufferCallbacks GUARDED_BY(mMutex);

public:
    // Returns the process's listener, created on first use.
    static sp<TransactionCompletedListener> getInstance();
    // The same, as the interface the compositor calls.
    static sp<ITransactionCompletedListener> getIInstance();

    void startListeningLocked() REQUIRES(mMutex);

    // Registers `callbackFunction` for `surfaceControls` under a fresh id of `callbackType`.
    CallbackId addCallbackFunction(
        const TransactionCompletedCallback& callbackFunction,
        const std::unordered_set<sp<SurfaceControl>, SurfaceComposerClient::SCHash>& surfaceControls,
        CallbackId::Type callbackType);
    CallbackId addCallbackFunctionLocked(
        const TransactionCompletedCallback& callbackFunction,
        const std::unordered_set<sp<SurfaceControl>, SurfaceComposerClient::SCHash>& surfaceControls,
        CallbackId::Type callbackType) REQUIRES(mMutex);

    // Adds `surfaceControl` to every callback of `callbackInfo`.
    void addSurfaceControlToCallbacks(SurfaceComposerClient::CallbackInfo& callbackInfo,
                                      const sp<SurfaceControl>& surfaceControl);

    // Registers `listener` to run when the buffer of `callbackId` is released.
    void setReleaseBufferCallback(const ReleaseCallbackId& callbackId,
                                  ReleaseBufferCallback listener);

    // Runs the commit callbacks of each transaction reported, then its completion callbacks,
    // each with the stats of the surfaces it was registered for; releases the buffers the
    // report says were replaced. Callbacks run outside the lock.
    void onTransactionCompleted(ListenerStats stats) override;
    // The compositor released the buffer of `callbackId`: pops and runs its callback (outside
    // the lock), with nullopt for a count of UINT_MAX. Does nothing if none is registered.
    void onReleaseBuffer(ReleaseCallbackId callbackId, sp<Fence> releaseFence,
                         uint32_t currentMaxAcquiredBufferCount) override;

    // Drops the release callback of `callbackId`, if any.
    void removeReleaseBufferCallback(const ReleaseCallbackId& callbackId);

    // Replaces the process's listener (tests).
    static void setInstance(const sp<TransactionCompletedListener>&);

    // Nothing on host listens for stalled queues or trusted presentation: both do nothing.
    void onTransactionQueueStalled(const String8& reason) override;

    void onTrustedPresentationChanged(int id, bool presentedWithinThresholds) override;

private:
    ReleaseBufferCallback popReleaseBufferCallbackLocked(const ReleaseCallbackId& callbackId)
        REQUIRES(mMutex);
    static sp<TransactionCompletedListener> sInstance;

    // ---- Host only (not in Android 14) ----
public:
    // Returns the number of registered transaction and release callbacks.
    size_t hostCallbackCount();
    size_t hostReleaseCallbackCount();
    // Drops every callback (tests start from an empty listener).
    void hostClear();
    // The listener's lock, for tests that must hold it.
    std::mutex& hostMutex() RETURN_CAPABILITY(mMutex) { return mMutex; }
};

}  // namespace android
