#include <ui/Size.h>

namespace android::ui {

const Size Size::INVALID{-1, -1};
const Size Size::EMPTY{0, 0};

}  // namespace android::ui
