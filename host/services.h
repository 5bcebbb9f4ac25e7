// The services that a host gives its effects: site, factories, task manager, streams, message target.
#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "platform/com_ptr.h"
#include "platform/threads.h"
#include "platform/transform.h"

#pragma GCC visibility push(default)
namespace larkmoor {

/// A transform factory to be handed to `IObjectWithSite::SetSite`. It answers `QueryService` for the surface factory,
/// the task manager and the surface modifier.
/// @param processors what the task manager reports; 0 for the machine's number. With 1 an effect works in one band.
CComPtr<IDXTransformFactory> createTransformFactory(unsigned processors = 1);

/// A stream over memory of its own, at position 0. Reading past the end gives S_FALSE with the bytes there were.
CComPtr<IStream> createMemoryStream(std::span<const std::byte> content = {});

/// Everything that stands in a memory stream, whatever its position. Throws Error for a stream of another make.
std::vector<std::byte> streamContent(IStream* stream);

/// A storage over memory with named streams (no nested storages).
CComPtr<IStorage> createMemoryStorage();

/// A message target that queues what is posted; safe to post to from any thread.
class MessageQueue : public tMessageTarget {
  public:
    struct Message {
        UINT message;
        std::uintptr_t wParam;
        std::intptr_t lParam;
    };
    MessageQueue();
    /// Takes everything that was posted since the last call, oldest first.
    std::vector<Message> take();

  private:
    CMutex m_lock;
    std::vector<Message> m_messages;
};

} // namespace larkmoor
#pragma GCC visibility pop
