// What a thread has for itself.
#pragma once

namespace VecTableSupport {

// The thread's own object of the type, null once the thread has ended so far that it is destroyed: what its host
// destroys after it may still call the library.
template <typename Object>
Object* ThreadOwned() noexcept {
    static constinit thread_local bool ended = false;
    struct Holder {
        Object object;
        ~Holder() { ended = true; }
    };
    if (ended) return nullptr;
    static thread_local Holder holder;
    return &holder.object;
}

}  // namespace VecTableSupport
