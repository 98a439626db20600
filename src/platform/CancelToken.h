#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <mutex>

namespace platform {

// Calls off work that runs on other threads: work already under way is told
// through the hooks it left, work not yet begun sees isCancelled().
class CancelToken {
public:
    using Hook = std::uint64_t;

    // Any thread, any number of times; the hooks run once, on the calling thread.
    void cancel();
    bool isCancelled() const;

    // onCancel runs when cancel() comes, or at once on this thread when it came
    // already. It runs under the token's lock: it must be short and must not
    // call back into the token.
    Hook watch(std::function<void()> onCancel);
    // Once this returns, the hook neither runs nor will run.
    void forget(Hook hook);

private:
    mutable std::mutex mutex_;
    bool cancelled_ = false;
    Hook next_ = 0;
    std::map<Hook, std::function<void()>> hooks_;
};

} // namespace platform
