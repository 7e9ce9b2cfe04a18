#include <gui/ITransactionCompletedListener.h>

namespace android {

const ReleaseCallbackId ReleaseCallbackId::INVALID_ID = ReleaseCallbackId(0, 0);

}  // namespace android
