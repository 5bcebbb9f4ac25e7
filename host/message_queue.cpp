#include <new>
#include <utility>

#include "host/services.h"

namespace larkmoor {

MessageQueue::MessageQueue() {
    post = [](void* self, UINT message, std::uintptr_t wParam, std::intptr_t lParam) {
        auto& queue = static_cast<MessageQueue&>(*static_cast<tMessageTarget*>(self));
        try {
            const CHeld guard(queue.m_lock);
            queue.m_messages.push_back({message, wParam, lParam});
        } catch (const std::bad_alloc&) {
            // Posting has no answer: the message is lost, as on any full queue.
        }
    };
}

std::vector<MessageQueue::Message> MessageQueue::take() {
    const CHeld guard(m_lock);
    return std::exchange(m_messages, {});
}

} // namespace larkmoor
