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
// its nested Transaction, the IBinder/SurfaceControl hashes and the process's
// TransactionCompletedListener. There is no compositor on the host: transactions record what
// they carry and register their callbacks with the listener exactly as libgui does, and the
// host-only section of the listener plays the compositor's part (completing callbacks and
// releasing buffers).
#pragma once

#include <binder/IBinder.h>
#include <gui/ITransactionCompletedListener.h>
#include <gui/SurfaceControl.h>
#include <stdint.h>
#include <ui/Fence.h>
#include <ui/GraphicBuffer.h>
#include <ui/PixelFormat.h>
#include <utils/Errors.h>
#include <utils/RefBase.h>
#include <utils/String8.h>
#include <utils/StrongPointer.h>

#include <functional>
#include <mutex>
#include <optional>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <vector>

namespace android {

class SurfaceComposerClient : public RefBase {
public:
    SurfaceComposerClient();

    // Returns NO_ERROR: the host client is always connected.
    status_t initCheck() const { return NO_ERROR; }

    // Creates a layer named `name` with a fresh handle and a process-unique layer id (from 1),
    // as the compositor would assign them.
    sp<SurfaceControl> createSurface(const String8& name, uint32_t w, uint32_t h,
                                     PixelFormat format, int32_t flags = 0);

    // HOST-ONLY: returns once the release callbacks of buffers overwritten in transactions
    // (run on libgui's release-callback thread) have all run.
    static void hostWaitForReleaseCallbacks();

    // Hashes an sp<IBinder> by its raw pointer.
    struct IBinderHash {
        std::size_t operator()(const sp<IBinder>& iBinder) const {
            return std::hash<IBinder*>{}(iBinder.get());
        }
    };

    // Hashes an sp<SurfaceControl> by its raw pointer.
    struct SCHash {
        std::size_t operator()(const sp<SurfaceControl>& sc) const {
            return std::hash<SurfaceControl*>{}(sc.get());
        }
    };

    // A batch of layer changes applied atomically. A copyable value type, as in AOSP.
    class Transaction {
    public:
        Transaction();
        virtual ~Transaction() = default;
        Transaction(const Transaction& other);
        Transaction& operator=(const Transaction& other) = default;

        // Returns the id, unique in the process: (pid << 32) | a per-process counter.
        uint64_t getId() const { return mId; }
        // Returns the ids of the transactions merged into this one, oldest first.
        std::vector<uint64_t> getMergedTransactionIds() const { return mMergedTransactionIds; }

        // Moves `other`'s changes and callbacks into this one and clears `other`.
        Transaction& merge(Transaction&& other);
        // Drops every change and callback registration (the id stays).
        void clear();
        // Sends the transaction (on the host: counts it) and clears it. Returns NO_ERROR.
        status_t apply(bool synchronous = false, bool oneWay = false);

        // Sets the frame number that `sc`'s next buffer carries.
        Transaction& setFrameNumber(const sp<SurfaceControl>& sc, uint64_t frameNumber);
        // Sets `sc`'s buffer; registers `callback` with the listener under
        // ReleaseCallbackId(buffer id, frame number) when it is set. A buffer it replaces is
        // released on the release-callback thread.
        Transaction& setBuffer(const sp<SurfaceControl>& sc, const sp<GraphicBuffer>& buffer,
                               const std::optional<sp<Fence>>& fence = std::nullopt,
                               const std::optional<uint64_t>& frameNumber = std::nullopt,
                               uint32_t producerId = 0, ReleaseBufferCallback callback = nullptr);
        // Registers `callback` (called with `callbackContext`) with the listener for the
        // completion of this transaction.
        Transaction& addTransactionCompletedCallback(
            TransactionCompletedCallbackTakesContext callback, void* callbackContext);
        // Same, for the commit of this transaction.
        Transaction& addTransactionCommittedCallback(
            TransactionCompletedCallbackTakesContext callback, void* callbackContext);

        // ---- HOST-ONLY (not in AOSP) ----
        // Returns the callback ids registered through this transaction.
        std::unordered_set<CallbackId, CallbackIdHash> hostCallbackIds() const {
            return mCallbackIds;
        }
        // Returns the frame number set for `sc`, if any.
        std::optional<uint64_t> hostFrameNumber(const sp<SurfaceControl>& sc) const;
        // Returns the buffer set for `sc`, or null.
        sp<GraphicBuffer> hostBuffer(const sp<SurfaceControl>& sc) const;
        // Returns how many times apply() ran on this object.
        uint32_t hostApplyCount() const { return mApplyCount; }
        // What the transaction carries for one layer.
        struct HostLayer {
            sp<SurfaceControl> surfaceControl;
            std::optional<uint64_t> frameNumber;
            ReleaseCallbackId releaseCallbackId;
        };
        // Returns the layers this transaction changes, in no particular order.
        std::vector<HostLayer> hostLayers() const;
        // Sets the process's receiver of applied transactions (the compositor's side): called
        // by apply() with the transaction before it is cleared, on the applying thread, which
        // may hold the BLAST queue's lock. Null: none. Set it before transactions are applied.
        static void hostSetApplyObserver(std::function<void(const Transaction&)> observer);

    private:
        static uint64_t generateId();
        Transaction& addCallback(TransactionCompletedCallbackTakesContext callback,
                                 void* callbackContext, CallbackId::Type callbackType);
        void registerSurfaceControlForCallback(const sp<SurfaceControl>& sc);

        // What the transaction holds for one layer.
        struct LayerState {
            sp<SurfaceControl> surfaceControl;
            std::optional<uint64_t> frameNumber;
            sp<GraphicBuffer> buffer;
            sp<Fence> acquireFence;
            ReleaseCallbackId releaseCallbackId = ReleaseCallbackId::INVALID_ID;
            uint32_t producerId = 0;
        };

        uint64_t mId;
        std::vector<uint64_t> mMergedTransactionIds;
        std::unordered_map<sp<IBinder>, LayerState, IBinderHash> mComposerStates;
        std::unordered_set<CallbackId, CallbackIdHash> mCallbackIds;
        std::unordered_set<sp<SurfaceControl>, SCHash> mCallbackSurfaceControls;
        uint32_t mApplyCount = 0;
    };

private:
    ~SurfaceComposerClient() override = default;
};

// Receives the compositor's transaction-completed and buffer-release reports for the whole
// process and dispatches them to the callbacks registered through transactions. One instance
// per process (getInstance()).
class TransactionCompletedListener : public virtual RefBase {
public:
    TransactionCompletedListener();

protected:
    int64_t getNextIdLocked();

    std::mutex mMutex;

    bool mListening = false;
    int64_t mCallbackIdCounter = 1;

    struct CallbackTranslation {
        TransactionCompletedCallback callbackFunction;
        std::unordered_map<sp<IBinder>, sp<SurfaceControl>, SurfaceComposerClient::IBinderHash>
            surfaceControls;
    };

    std::unordered_map<CallbackId, CallbackTranslation, CallbackIdHash> mCallbacks;
    std::unordered_map<ReleaseCallbackId, ReleaseBufferCallback, ReleaseBufferCallbackIdHash>
        mReleaseBufferCallbacks;

    friend class TalvexBufferQueueHelper;

public:
    // Returns the process's listener, created on first use.
    static sp<TransactionCompletedListener> getInstance();

    void startListeningLocked();

    // Registers `callbackFunction` for `surfaceControls` under a fresh id of `callbackType`.
    CallbackId addCallbackFunction(
        const TransactionCompletedCallback& callbackFunction,
        const std::unordered_set<sp<SurfaceControl>, SurfaceComposerClient::SCHash>& surfaceControls,
        CallbackId::Type callbackType);
    // Adds `surfaceControl` to every registered callback of `callbackIds`.
    void addSurfaceControlToCallbacks(
        const sp<SurfaceControl>& surfaceControl,
        const std::unordered_set<CallbackId, CallbackIdHash>& callbackIds);

    // Registers `listener` to run when the buffer of `callbackId` is released.
    void setReleaseBufferCallback(const ReleaseCallbackId& callbackId,
                                  ReleaseBufferCallback listener);
    // Drops the release callback of `callbackId`, if any.
    void removeReleaseBufferCallback(const ReleaseCallbackId& callbackId);
    // The compositor released the buffer of `callbackId`: pops and runs its callback (outside
    // the lock), with nullopt for a count of UINT_MAX. Does nothing if none is registered.
    void onReleaseBuffer(ReleaseCallbackId callbackId, sp<Fence> releaseFence,
                         uint32_t currentMaxAcquiredBufferCount);

    // ---- HOST-ONLY (not in AOSP): the compositor's side and test access ----
    // Completes the callback `callbackId` as the compositor's report would: removes it and runs
    // its function (outside the lock). Returns false if it is not registered.
    bool hostCompleteCallback(const CallbackId& callbackId, nsecs_t latchTime,
                              const sp<Fence>& presentFence,
                              const std::vector<SurfaceControlStats>& stats);
    // Returns the registered callback ids, in no particular order.
    std::vector<CallbackId> hostCallbackIds();
    // Returns whether `callbackId` is registered.
    bool hostHasCallback(const CallbackId& callbackId);
    // Returns the number of registered transaction and release callbacks.
    size_t hostCallbackCount();
    size_t hostReleaseCallbackCount();
    // Drops every callback (tests start from an empty listener).
    void hostClear();
    // The listener's lock, for tests that must hold it.
    std::mutex& hostMutex() { return mMutex; }
    // Sets what is told, under mMutex, of every callback id registered (`added` true) or
    // removed on completion (false): the places a vendor patch of libgui times callbacks.
    // Null: none. Set it before callbacks are registered.
    void hostSetCallbackIdObserver(std::function<void(int64_t id, bool added)> observer);

private:
    ReleaseBufferCallback popReleaseBufferCallbackLocked(const ReleaseCallbackId& callbackId);

    std::function<void(int64_t id, bool added)> mHostCallbackIdObserver;  // guarded by mMutex

    static sp<TransactionCompletedListener> sInstance;
};

}  // namespace android
