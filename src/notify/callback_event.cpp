#include "notify/callback_event.h"

namespace bv {

void CallbackEvent::Deliver(const CallbackSlot& callback) {
    switch (callback.type) {
        case CB_TYPE_ORIG: reinterpret_cast<void (*)()>(callback.function)(); break;
        case CB_TYPE_EX:
            reinterpret_cast<void (*)(void*)>(callback.function)(callback.context);
            break;
        case CB_TYPE_EX2:
            reinterpret_cast<void (*)(FRAME_INFO*)>(callback.function)(&frame_info);
            break;
        case CB_TYPE_EX3:
            reinterpret_cast<void (*)(FRAME_INFO*, void*)>(callback.function)(&frame_info,
                                                                              callback.context);
            break;
    }
}

}  // namespace bv
