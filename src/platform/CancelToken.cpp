#include "platform/CancelToken.h"

namespace platform {

void CancelToken::cancel()
{
    std::lock_guard lock(mutex_);
    if (cancelled_)
        return;
    cancelled_ = true;
    // Under the lock, so that forget() can promise the hook is over.
    for (const auto& [hook, onCancel] : hooks_)
        onCancel();
    hooks_.clear();
}

bool CancelToken::isCancelled() const
{
    std::lock_guard lock(mutex_);
    return cancelled_;
}

CancelToken::Hook CancelToken::watch(std::function<void()> onCancel)
{
    std::lock_guard lock(mutex_);
    const Hook hook = ++next_;
    if (cancelled_)
        onCancel();
    else
        hooks_.emplace(hook, std::move(onCancel));
    return hook;
}

void CancelToken::forget(Hook hook)
{
    std::lock_guard lock(mutex_);
    hooks_.erase(hook);
}

} // namespace platform
